// SPDX-License-Identifier: GPL-3.0-or-later
// The window that greets who has no show to run.
#pragma once

#include <QWidget>

#include <memory>

namespace quorvane {

/// Hears from the welcome window. Thread: main.
class WelcomeControllerDelegate {
public:
    virtual ~WelcomeControllerDelegate() = default;

    /// The person wants to choose a folder.
    virtual void openSelected() = 0;

    /// The person closed the window.
    virtual void welcomeClosedByHand() = 0;
};

/// One obvious thing to do: open a folder. Thread: main.
class WelcomeController : public QWidget {
    Q_OBJECT

public:
    WelcomeController();
    ~WelcomeController() override;

    /// Not owned; null for none.
    void setDelegate(WelcomeControllerDelegate* delegate) { mDelegate = delegate; }

    /// \param bar  stands at the window's upper edge and becomes its child.
    void setMenuBar(QWidget* bar);

    /// Shows the window in front of others.
    void showWindow();

    /// Takes the window away; nobody closed it.
    void closeWindow() { hide(); }

public Q_SLOTS:
    void OpenFolder();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void addKeys();

    WelcomeControllerDelegate* mDelegate = nullptr;
};

} // namespace quorvane
