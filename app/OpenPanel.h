// SPDX-License-Identifier: GPL-3.0-or-later
// The panel that asks what to show.
#pragma once

#include "platform/FileURL.h"

#include <QFileDialog>

#include <functional>
#include <vector>

namespace quorvane {

struct OpenPanelChoice {
    std::vector<FileURL> urls; ///< Empty when nothing was chosen.
    FileURL directory; ///< The folder that the panel showed last.
};

/// Lets a person choose a folder or some files, or both together: with nothing selected it opens
/// the folder that it shows. Goes when it is left. Thread: main.
class OpenPanel : public QFileDialog {
    Q_OBJECT

public:
    /// \param start  the folder to begin in; empty for the person's pictures.
    explicit OpenPanel(const FileURL& start);

    /// Shows the panel and returns; `done` is called once, when it was left.
    void begin(QWidget* above, std::function<void(const OpenPanelChoice&)> done);

    /// Stays open when something that was typed does not exist.
    void accept() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    OpenPanelChoice choice() const;
};

} // namespace quorvane
