// SPDX-License-Identifier: GPL-3.0-or-later
// The panel that asks what to show.
#include "app/OpenPanel.h"
#include "platform/TypeIdentifier.h"
#include "support/PictureFiles.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QFileSystemModel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QStandardPaths>
#include <QTimer>

#include <gtest/gtest.h>

#include <optional>

namespace quorvane {

namespace {

struct OpenPanelTest : testing::Test {
    ~OpenPanelTest() override
    {
        delete alive.data();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    /// Shows a panel that begins in the folder of files.
    void begin(QWidget* above = nullptr)
    {
        panel = new OpenPanel(FileURL(folder()));
        alive = panel;
        panel->begin(above, [this](const OpenPanelChoice& choice) {
            ++answers;
            answer = choice;
        });
    }

    bool isUp() const { return !alive.isNull() && panel->isVisible(); }

    QByteArray folder() const { return files.url("").path().chopped(1); }

    tests::PictureFiles files;
    OpenPanel* panel = nullptr;
    QPointer<OpenPanel> alive; ///< panel, as long as it lives.
    int answers = 0;
    std::optional<OpenPanelChoice> answer;
};

TEST_F(OpenPanelTest, SaysWhatItIsFor)
{
    const OpenPanel plain { FileURL() };

    EXPECT_EQ(plain.windowTitle(), QStringLiteral("Choose a folder or some files to display."));
}

TEST_F(OpenPanelTest, BeginsInTheFolderThatIsNamed)
{
    const OpenPanel plain { FileURL(folder()) };

    EXPECT_EQ(QFile::encodeName(plain.directory().absolutePath()), folder());
}

TEST_F(OpenPanelTest, BeginsInThePicturesWhereNoFolderIsNamed)
{
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    ASSERT_TRUE(QDir().mkpath(pictures));

    const OpenPanel plain { FileURL() };

    EXPECT_EQ(plain.directory().absolutePath(), pictures);
}

TEST_F(OpenPanelTest, OffersAllThatCanBeShown)
{
    const OpenPanel plain { FileURL() };

    const QString filter = plain.nameFilters().first();
    for (const QString& type : TypeIdentifier::imageTypes() + TypeIdentifier::audiovisualTypes()) {
        for (const QString& extension : TypeIdentifier::extensionsOf(type)) {
            EXPECT_TRUE(filter.contains(QStringLiteral("*.%1").arg(extension)))
                << qPrintable(extension);
        }
    }
    EXPECT_TRUE(filter.contains(QStringLiteral("*.jpg ")));
    EXPECT_FALSE(filter.contains(QStringLiteral("*.pdf")));
    EXPECT_TRUE(filter.startsWith(plain.selectedNameFilter())); // Which hides the long list.
    EXPECT_TRUE(plain.nameFilters().last().contains(QStringLiteral("(*)")));
}

TEST_F(OpenPanelTest, DoesNotWaitForAnAnswer)
{
    begin();

    EXPECT_TRUE(isUp());
    EXPECT_EQ(answers, 0);
}

TEST_F(OpenPanelTest, ChoosesTheFolderThatItShowsWhenNothingIsSelected)
{
    begin();

    panel->accept();

    ASSERT_EQ(answers, 1);
    EXPECT_EQ(answer->urls, std::vector({ FileURL(folder()) }));
    EXPECT_EQ(answer->directory, FileURL(folder()));
    EXPECT_FALSE(isUp());
}

TEST_F(OpenPanelTest, CanAlwaysBeAnswered)
{
    begin();
    const auto* const open = panel->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Open);
    EXPECT_TRUE(open->isEnabled());

    panel->findChild<QLineEdit*>()->setText(QStringLiteral("missing.png"));
    EXPECT_TRUE(open->isEnabled());
    panel->setDirectory(QStringLiteral("/"));
    EXPECT_TRUE(open->isEnabled());
}

TEST_F(OpenPanelTest, StaysForANameThatDoesNotExist)
{
    bool complained = false;
    QTimer::singleShot(0, [&complained] {
        auto* const complaint = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        complained = complaint != nullptr;
        QApplication::activeModalWidget()->close();
    });
    begin();

    panel->findChild<QLineEdit*>()->setText(QStringLiteral("missing.png"));
    panel->accept();

    EXPECT_TRUE(complained);
    EXPECT_TRUE(isUp());
    EXPECT_EQ(answers, 0);
}

TEST_F(OpenPanelTest, OffersFilesInCapitalsToo)
{
    begin();

    const auto* const model = panel->findChild<QFileSystemModel*>();
    EXPECT_FALSE(model->filter().testFlag(QDir::CaseSensitive));
}

TEST_F(OpenPanelTest, ChoosesAFile)
{
    const FileURL url = files.write("grüße.png", QByteArray());
    begin();

    panel->selectFile(QFile::decodeName(url.path()));
    panel->accept();

    EXPECT_EQ(answer->urls, std::vector({ url }));
    EXPECT_EQ(answer->directory, FileURL(folder()));
}

TEST_F(OpenPanelTest, ChoosesSeveralFiles)
{
    const FileURL one = files.write("1.png", QByteArray());
    const FileURL two = files.write("2.png", QByteArray());
    begin();

    panel->findChild<QLineEdit*>()->setText(QStringLiteral("\"1.png\" \"2.png\""));
    panel->accept();

    EXPECT_EQ(answer->urls, std::vector({ one, two }));
}

TEST_F(OpenPanelTest, ChoosesAFolderInsteadOfEnteringIt)
{
    ASSERT_TRUE(QDir(QFile::decodeName(folder())).mkdir(QStringLiteral("inner")));
    begin();

    panel->selectFile(QFile::decodeName(folder() + "/inner"));
    panel->accept();

    ASSERT_EQ(answers, 1);
    EXPECT_EQ(answer->urls, std::vector({ FileURL(folder() + "/inner") }));
    EXPECT_EQ(answer->directory, FileURL(folder()));
}

TEST_F(OpenPanelTest, TellsTheFolderThatItShowedLast)
{
    begin();

    panel->setDirectory(QDir::rootPath());
    panel->accept();

    EXPECT_EQ(answer->directory, FileURL("/"));
    EXPECT_EQ(answer->urls, std::vector({ FileURL("/") }));
}

TEST_F(OpenPanelTest, ChoosesNothingWhenItIsCancelled)
{
    files.write("1.png", QByteArray());
    begin();

    panel->selectFile(QFile::decodeName(folder() + "/1.png"));
    panel->reject();

    ASSERT_EQ(answers, 1);
    EXPECT_TRUE(answer->urls.empty());
}

TEST_F(OpenPanelTest, ChoosesNothingWhenItIsClosed)
{
    begin();

    panel->close();

    ASSERT_EQ(answers, 1);
    EXPECT_TRUE(answer->urls.empty());
}

TEST_F(OpenPanelTest, TellsNobodyWhenItIsDestroyed)
{
    begin();

    delete panel;

    EXPECT_EQ(answers, 0);
}

TEST_F(OpenPanelTest, GoesWhenItIsLeft)
{
    begin();

    panel->reject();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

    EXPECT_TRUE(alive.isNull());
}

TEST_F(OpenPanelTest, StandsAboveTheShow)
{
    QWidget show;
    show.show();

    begin(&show);

    const auto* const shown = show.findChild<OpenPanel*>();
    ASSERT_NE(shown, nullptr);
    EXPECT_EQ(shown, panel);
    EXPECT_TRUE(shown->isWindow());
    EXPECT_TRUE(shown->isModal());
}

} // namespace

} // namespace quorvane
