// Export... in the window on the sample catalogue: the command in the tree's menu and
// Tools, and the flow writing the selected storage behind its progress window.
#include "FakePrompter.h"
#include "TestCatalogue.h"
#include "app/ShelfwiseApp.h"
#include "document/ShelfwiseDoc.h"
#include "export/ExportFlow.h"
#include "sqlitewrapper/RowMappers.h"
#include "views/CommandIds.h"
#include "views/Commands.h"
#include "views/MainFrame.h"

#include <QAction>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMenu>
#include <QMenuBar>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include <gtest/gtest.h>

TEST(ExportFlow, WritesTheChosenStorageAndRefusesAnUnwritablePlace)
{
    QTemporaryDir dir;
    FakePrompter prompter;
    prompter.SetDefaultYesNo(true);
    CShelfwiseApp app(&prompter);
    const QString path = CopySampleCatalogue(dir.filePath(QStringLiteral("sample.db3")));
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise"), path}));
    CMainFrame& frame = *app.MainFrame();
    ASSERT_NE(frame.Commands().Get(CommandIds::Export), nullptr);
    EXPECT_TRUE(frame.Commands().Get(CommandIds::Export)->isEnabled());

    CShelfwiseDoc& doc = *app.Document();
    std::vector<StorageRecord> storages = doc.Storages();
    ASSERT_FALSE(storages.empty());
    const StorageRecord& storage = storages.front();

    CExportFlow flow(doc, &frame);
    const QString out = dir.filePath(QStringLiteral("storage.json"));
    ASSERT_TRUE(flow.Run(ExportScope::Storage(storage.StorageID), CExportJob::Format::Json, out));
    QFile file(out);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QJsonArray units = QJsonDocument::fromJson(file.readAll()).array();
    EXPECT_EQ(units.size(), static_cast<int>(flow.Written()));
    std::vector<QString> count;
    doc.Database().QueryRows(
        QStringLiteral("SELECT COUNT(*) FROM Units WHERE StorageID = %1").arg(storage.StorageID),
        count, &RowMappers::Texts);
    ASSERT_EQ(count.size(), 1u);
    EXPECT_EQ(units.size(), count.front().toInt());

    // A folder that is not there: a message, no file.
    const size_t shown = prompter.Messages().size();
    EXPECT_FALSE(flow.Run(ExportScope::Storage(storage.StorageID), CExportJob::Format::Csv,
                          dir.filePath(QStringLiteral("missing/out.csv"))));
    EXPECT_EQ(prompter.Messages().size(), shown + 1);
}

TEST(ExportFlow, ExportAsPageSitsBesideExportAndWritesAPageNamedAfterTheCatalogue)
{
    QTemporaryDir dir;
    FakePrompter prompter;
    prompter.SetDefaultYesNo(true);
    CShelfwiseApp app(&prompter);
    const QString path = CopySampleCatalogue(dir.filePath(QStringLiteral("Home discs.db3")));
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise"), path}));
    CMainFrame& frame = *app.MainFrame();
    QAction* page = frame.Commands().Get(CommandIds::ExportPage);
    ASSERT_NE(page, nullptr);
    EXPECT_TRUE(page->isEnabled());
    // In Tools, right after Export...
    const QMenu* tools = nullptr;
    for (QAction* entry : frame.menuBar()->actions()) {
        if (entry->menu() && entry->text() == QStringLiteral("&Tools"))
            tools = entry->menu();
    }
    ASSERT_NE(tools, nullptr);
    const QList<QAction*> entries = tools->actions();
    const qsizetype at = entries.indexOf(frame.Commands().Get(CommandIds::Export));
    ASSERT_GE(at, 0);
    ASSERT_LT(at + 1, entries.size());
    EXPECT_EQ(entries[at + 1], page);

    CShelfwiseDoc& doc = *app.Document();
    const std::vector<StorageRecord> storages = doc.Storages();
    ASSERT_FALSE(storages.empty());
    CExportFlow flow(doc, &frame);
    const QString out = dir.filePath(QStringLiteral("shelf.html"));
    ASSERT_TRUE(
        flow.Run(ExportScope::Storage(storages.front().StorageID), CExportJob::Format::Page, out));
    EXPECT_GT(flow.Written(), 0);
    QFile file(out);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray html = file.readAll();
    EXPECT_TRUE(html.startsWith("<!DOCTYPE html>"));
    EXPECT_TRUE(html.contains("<title>Home discs</title>"));
    EXPECT_EQ(CExportJob::FormatFor(QStringLiteral("Web page (*.html *.htm)")),
              CExportJob::Format::Page);
}
