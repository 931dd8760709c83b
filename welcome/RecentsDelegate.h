// SPDX-License-Identifier: GPL-3.0-or-later
// How a recent folder looks in the list.
#pragma once

#include <QStyledItemDelegate>

class QPalette;

namespace quorvane {

class FolderStrips;

/// For what is said in passing: between the colours of the text and of the window, as legible on
/// dark as on light.
QColor mutedText(const QPalette& palette);

/// `path` on one line, for people to read: what is not UTF-8, breaks lines or turns the writing
/// direction shows as a replacement character.
QString readablePath(const QByteArray& path);

/// Draws a folder: its name over its path, and its strip of pictures, fewer where there is little
/// room. Thread: main.
class RecentsDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    /// The item's data in which the path is, in bytes.
    static constexpr int kPathRole = Qt::UserRole;

    /// \param strips  must outlive this.
    RecentsDelegate(const FolderStrips& strips, QObject* parent);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
        const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    const FolderStrips& mStrips;
};

} // namespace quorvane
