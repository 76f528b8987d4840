// Adding a disc, folder or file to the catalogue: the transaction, the top unit, and
// the start of the scanner and the importer.
#include "acquisition/Importer.h"
#include "acquisition/MediaDetails.h"
#include "acquisition/SubunitsSearcher.h"
#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "document/ShelfwiseDoc.h"
#include "errorlog/ErrorLog.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

namespace {

struct FileFacts
{
    qint64 size = 0;
    QDateTime created;
    QDateTime modified;
};

// Opens the file for reading and takes its size and times; false when any step fails.
bool ReadFileFacts(const QString& path, FileFacts& facts)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QFileInfo info(path);
    facts.size = file.size();
    facts.modified = info.lastModified();
    facts.created = info.birthTime().isValid() ? info.birthTime() : facts.modified;
    return facts.modified.isValid();
}

} // namespace

SubunitsSearcher& CShelfwiseDoc::Searcher()
{
    if (!m_searcher)
        m_searcher = std::make_shared<SubunitsSearcher>(m_folderLister);
    return *m_searcher;
}

void CShelfwiseDoc::SetFolderLister(FolderLister* lister)
{
    if (m_searcher) {
        m_searcher->Wait();
        m_searcher.reset();
    }
    m_folderLister = lister;
}

CImporter& CShelfwiseDoc::Importer()
{
    if (!m_importer)
        m_importer = std::make_shared<CImporter>(m_db);
    return *m_importer;
}

void CShelfwiseDoc::StopWorkers()
{
    if (m_searcher) {
        m_searcher->Cancel();
        m_searcher->Wait();
    }
    if (m_importer) {
        m_importer->Cancel();
        m_importer->Wait();
    }
}

bool CShelfwiseDoc::AddLocation(QObject* notify, bool isDisc, const QString& name,
                                const QString& path, const QString& notes, int storageId,
                                bool categorise, int fixedCategory, quint64 totalSize,
                                const QString& discLabel, quint32 discSerial, qint64 discSize)
{
    const QFileInfo info(path);
    const UnitKind kind = isDisc                            ? UnitKind::Disc
                          : (info.exists() && info.isDir()) ? UnitKind::Folder
                                                            : UnitKind::File;
    FileFacts facts;
    bool fileFailed = false;
    const bool started = Guard([&] {
        m_db.Execute(QStringLiteral("BEGIN TRANSACTION"));
        const int discInfoId = isDisc ? m_db.AddDiscInfo(discLabel, discSerial, discSize) : 0;
        int category = categorise ? CategoryIds::General : fixedCategory;
        CNullable<int> unitInfoId;
        if (kind == UnitKind::File) {
            if (!ReadFileFacts(path, facts)) {
                fileFailed = true;
                m_db.Execute(QStringLiteral("ROLLBACK TRANSACTION"));
                return;
            }
            if (categorise)
                category = m_db.CategoryForFile(info.fileName());
            // A single media file gets its details as it would inside a folder.
            if (category >= CategoryIds::Film && category <= CategoryIds::Picture) {
                unitInfoId = AddMediaRow(m_db, CreateMediaDetailsReader()->Read(path, category));
            }
        }
        m_lastAddedUnitId =
            m_db.AddUnit(kind, name, notes, category, storageId, 0, unitInfoId, facts.size,
                         facts.created, facts.modified, discInfoId, true);
        m_lastAddedStorageId = storageId;
    });
    if (fileFailed) {
        UserPrompter::Current().ShowMessage(Strings::IDS_ADD_FILE_FAILED,
                                            UserPrompter::Icon::Error);
        return false;
    }
    if (!started)
        return false;

    switch (kind) {
    case UnitKind::Disc:
        Searcher().Start(path, notify, false);
        Importer().StartImport(notify, categorise, fixedCategory, storageId, m_lastAddedUnitId,
                               totalSize);
        break;
    case UnitKind::Folder:
        Importer().StartImport(notify, categorise, fixedCategory, storageId, m_lastAddedUnitId,
                               totalSize);
        break;
    default:
        if (Guard([&] {
                m_db.Execute(SqlText::Format(
                    "UPDATE Storages SET FilesNumber = FilesNumber + 1,     StorageSize = "
                    "StorageSize + %lld WHERE StorageID = %d",
                    {facts.size, storageId}));
            }))
            FinishUpdate();
        else
            return false;
        break;
    }
    return true;
}

void CShelfwiseDoc::RollbackAdd()
{
    try {
        m_db.Execute(QStringLiteral("ROLLBACK TRANSACTION"));
    } catch (const CSqliteWrapperError& error) {
        ErrorLog::Instance().ReportException(error, true);
    }
    ReloadStorages();
}
