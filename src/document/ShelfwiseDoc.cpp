#include "document/ShelfwiseDoc.h"

#include "common/FileCopy.h"
#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "errorlog/ErrorLog.h"
#include "settings/Settings.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

using SqlText::Format;
using SqlText::QuoteSqlString;

namespace {

const char kSourceName[] = "ShelfwiseDoc";

} // namespace

CShelfwiseDoc::CShelfwiseDoc(bool uniqueWorkingCopy, QObject* parent) : QObject(parent)
{
    const QString folder = SettingsFolder();
    const qint64 seconds = QDateTime::currentSecsSinceEpoch();
    m_workingCopyPath =
        uniqueWorkingCopy
            ? folder +
                  QStringLiteral("%1-%2.db3").arg(seconds).arg(QCoreApplication::applicationPid())
            : folder + QStringLiteral("%1.db3").arg(seconds);
    m_ownWorkingCopyPath = m_workingCopyPath;
    m_templatePath = folder + QStringLiteral("empty.db3");
    ErrorLog::Instance().SetLogPath(folder + QStringLiteral("log.txt"));
    try {
        Settings::Instance();
    } catch (const std::logic_error& error) {
        // A settings file with a bad value: the rest of it is not read, defaults stand.
        ErrorLog::Instance().ReportError(0, QString::fromUtf8(error.what()),
                                         QString::fromLatin1(kSourceName), __LINE__, false, false);
    }
}

CShelfwiseDoc::~CShelfwiseDoc()
{
    try {
        m_db.Close();
    } catch (const CSqliteWrapperError& error) {
        ErrorLog::Instance().ReportException(error, true);
    }
    if (!m_keptWorkingCopy) {
        QFile::remove(m_workingCopyPath);
        QFile::remove(m_workingCopyPath + QStringLiteral("-journal"));
    }
    Settings::Instance().SaveIfChanged();
}

void CShelfwiseDoc::ReportDatabaseError(const CSqliteWrapperError& error)
{
    if (m_db.InTransaction()) {
        try {
            m_db.RollbackTransaction();
        } catch (const CSqliteWrapperError&) {
            // The original error is the one worth showing.
        }
    }
    ErrorLog::Instance().ReportException(error, false);
}

void CShelfwiseDoc::ReportFailure(const std::exception& error)
{
    if (m_db.InTransaction()) {
        try {
            m_db.RollbackTransaction();
        } catch (const CSqliteWrapperError&) {
        }
    }
    ErrorLog::Instance().ReportError(0, QString::fromLocal8Bit(error.what()),
                                     QString::fromLatin1(kSourceName), __LINE__, false, false);
}

void CShelfwiseDoc::ApplySortOrder()
{
    m_db.SetSortByName(Settings::Instance().UnitsOrder == UnitsOrder::Alphabetic);
}

void CShelfwiseDoc::ReplaceWorkingCopy(const QString& source)
{
    // The connection lets go of the old copy first, and the old copy goes, so a copy
    // that fails can never leave the previous catalogue standing in for the new one.
    Guard([&] { m_db.Close(); });
    QFile::remove(m_workingCopyPath);
    FileCopy::CopyOver(source, m_workingCopyPath);
}

void CShelfwiseDoc::TuneWorkingCopy()
{
    // The working copy is disposable: Save copies it to the user's file, and a crash
    // leaves that file untouched. So SQLite need not wait for the disk on every spill
    // of a large addition's transaction.
    m_db.Execute(QStringLiteral("PRAGMA synchronous = OFF"));
}

bool CShelfwiseDoc::OnNewDocument()
{
    ClearHistory();
    ReplaceWorkingCopy(m_templatePath);
    m_cataloguePath.clear();
    const bool opened = Guard([&] {
        ApplySortOrder();
        m_db.Open(m_workingCopyPath, true);
        TuneWorkingCopy();
    });
    if (!opened || !CheckDatabaseVersion())
        return false;
    FinishLoading();
    SetModified(false);
    return true;
}

void CShelfwiseDoc::FinishLoading()
{
    m_fallbackCategoryId = CategoryIds::General;
    emit cataloguePathChanged(m_cataloguePath);
    ReloadStorages();
    SelectedId = -1;
    SelectedIsStorage = false;
    m_loaded = true;
    if (!m_reopeningSaved)
        ClearHistory();
}

void CShelfwiseDoc::ReportOpenFailure(const QString& path, int code, const QString& detail)
{
    const QString headline = Strings::LoadString(Strings::IDS_NOT_A_CATALOGUE);
    QString text = headline + QStringLiteral("\n\n") + QDir::toNativeSeparators(path);
    if (!detail.isEmpty() && detail != headline)
        text += QStringLiteral("\n\n") + detail;
    ErrorLog::Instance().ReportError(code, text, QString::fromLatin1(kSourceName), __LINE__, false,
                                     false);
}

bool CShelfwiseDoc::PrepareToOpen(const QString& path, const QString& candidate)
{
    // A FIFO would block the copy for ever and a device such as /dev/zero would fill
    // the disk: only a regular file can be a catalogue.
    if (!QFileInfo(path).isFile()) {
        ReportOpenFailure(path, 0, QString());
        return false;
    }
    QFile::remove(candidate);
    if (!FileCopy::CopyOver(path, candidate)) {
        QFile file(path);
        ReportOpenFailure(path, 0, file.open(QIODevice::ReadOnly) ? QString() : file.errorString());
        return false;
    }
    CSqliteWrapper probe;
    try {
        probe.Open(candidate, false);
        probe.GetDatabaseVersion();
    } catch (const CSqliteWrapperError& error) {
        ReportOpenFailure(path, error.GetCode(), QString::fromUtf8(error.what()));
        return false;
    }
    return CheckCatalogueVersion(probe, candidate, path);
}

bool CShelfwiseDoc::OnOpenDocument(const QString& path)
{
    // The catalogue is copied beside the working copy and checked there first: the
    // working copy, with whatever unsaved changes it holds, is replaced only by a
    // catalogue that opened. A file that is not a catalogue, a newer catalogue or one
    // that cannot be read leaves the open catalogue as it was.
    QString candidate = m_ownWorkingCopyPath;
    candidate.replace(candidate.size() - 4, 4, QStringLiteral(".opening.db3"));
    if (!PrepareToOpen(path, candidate)) {
        QFile::remove(candidate);
        QFile::remove(candidate + QStringLiteral("-journal"));
        return false;
    }
    Guard([&] { m_db.Close(); });
    QFile::remove(m_workingCopyPath);
    QFile::remove(m_workingCopyPath + QStringLiteral("-journal"));
    if (!QFile::rename(candidate, m_workingCopyPath))
        FileCopy::CopyOver(candidate, m_workingCopyPath);
    QFile::remove(candidate);
    SetModified(false);
    m_cataloguePath = path;
    // Checked already; what fails now is reported, and the program stays open.
    const bool opened = Guard([&] {
        ApplySortOrder();
        try {
            m_db.Open(m_workingCopyPath, false);
            TuneWorkingCopy();
        } catch (const CSqliteWrapperError& error) {
            throw error.NonFatal();
        }
    });
    if (!opened)
        return false;
    FinishLoading();
    return true;
}

bool CShelfwiseDoc::OnSaveDocument(const QString& path)
{
    emit saving();
    // Pending statements are part of the saved state only once committed.
    m_lastSaveReachedFile = FileCopy::CopyOver(m_workingCopyPath, path);
    if (!m_lastSaveReachedFile) {
        KeepWorkingCopy(path);
        return true;
    }
    if (m_keptWorkingCopy) {
        // The changes reached the catalogue after all: the kept copy takes its working
        // name again, so that it goes at the end (or, after a kill, at the next start)
        // like any working copy.
        m_keptWorkingCopy = !RenameWorkingCopy(m_ownWorkingCopyPath);
    }
    if (path == m_cataloguePath) {
        SetModified(false);
        return true;
    }
    // The file just written holds the working copy's rows: the history still applies.
    m_reopeningSaved = true;
    OnOpenDocument(path);
    m_reopeningSaved = false;
    return true;
}

bool CShelfwiseDoc::RenameWorkingCopy(const QString& newPath)
{
    Guard([&] { m_db.Close(); });
    const bool renamed = !m_db.IsOpen() && QFile::rename(m_workingCopyPath, newPath);
    if (renamed)
        m_workingCopyPath = QDir::toNativeSeparators(newPath);
    Guard([&] {
        if (!m_db.IsOpen()) {
            m_db.Open(m_workingCopyPath, false);
            TuneWorkingCopy();
        }
    });
    return renamed;
}

void CShelfwiseDoc::KeepWorkingCopy(const QString& path)
{
    // The catalogue itself is untouched: its copy is only ever replaced whole. Without
    // changes there is nothing the catalogue lacks; with changes they live in the
    // working copy alone, so it gets a name that no clean-up of stale working copies
    // removes and it stays when the program ends.
    if (!m_bChanged && !m_keptWorkingCopy) {
        ErrorLog::Instance().ReportError(0,
                                         Format(Strings::LoadString(Strings::IDS_FILE_NOT_WRITTEN),
                                                {QDir::toNativeSeparators(path)}),
                                         QString::fromLatin1(kSourceName), __LINE__, false, false);
        return;
    }
    if (!m_keptWorkingCopy) {
        const QString kept =
            QFileInfo(m_workingCopyPath).absolutePath() + QLatin1Char('/') +
            QStringLiteral("Unsaved changes to %1 %2.db3")
                .arg(QFileInfo(path).completeBaseName(),
                     QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh-mm-ss")));
        // Should even the rename fail, the copy keeps its working name: it stays at the
        // end of this run all the same.
        RenameWorkingCopy(kept);
        m_keptWorkingCopy = true;
    }
    ErrorLog::Instance().ReportError(0,
                                     Format(Strings::LoadString(Strings::IDS_SAVE_FAILED),
                                            {QDir::toNativeSeparators(path), m_workingCopyPath}),
                                     QString::fromLatin1(kSourceName), __LINE__, false, false);
}

bool CShelfwiseDoc::FileSave()
{
    QString path = m_cataloguePath;
    if (path.isEmpty()) {
        path = UserPrompter::Current().AskSaveFileName();
        if (path.isEmpty())
            return false;
    }
    OnSaveDocument(path);
    return m_lastSaveReachedFile;
}

void CShelfwiseDoc::ReloadStorages()
{
    Guard([&] { m_db.GetStorages(m_storages); });
}

void CShelfwiseDoc::ApplySettings()
{
    ApplySortOrder();
    // Without an open catalogue the order waits for the next New or Open.
    if (!m_db.IsOpen())
        return;
    ReloadStorages();
    emit viewsNeedUpdate(nullptr);
}

void CShelfwiseDoc::SetSelection(int id, bool isStorage, QObject* sender)
{
    SelectedId = id;
    SelectedIsStorage = isStorage;
    emit viewsNeedUpdate(sender);
}

void CShelfwiseDoc::SetModified(bool changed)
{
    const bool was = m_bChanged;
    m_bChanged = changed;
    if (was != changed)
        emit modifiedChanged(changed);
}

void CShelfwiseDoc::MarkChanged()
{
    SetModified(true);
    // In the middle of edits that undo as one step, the save waits for their end.
    if (m_history.IsRecording())
        m_saveAfterEdits = true;
    else if (Settings::Instance().AutosaveAfterUpdate)
        FileSave();
}

void CShelfwiseDoc::FinishUpdate()
{
    if (Guard([&] {
            if (m_db.InTransaction())
                m_db.Execute(QStringLiteral("COMMIT TRANSACTION"));
        }))
        RecordAddition();
    ReloadStorages();
    emit viewsNeedUpdate(nullptr);
    MarkChanged();
}

void CShelfwiseDoc::RollbackAdd()
{
    m_additionPending = false;
    try {
        m_db.Execute(QStringLiteral("ROLLBACK TRANSACTION"));
    } catch (const CSqliteWrapperError& error) {
        ErrorLog::Instance().ReportException(error, true);
    }
    ReloadStorages();
}

void CShelfwiseDoc::SetLastAdded(int storageId, int unitId)
{
    m_lastAddedStorageId = storageId;
    m_lastAddedUnitId = unitId;
    m_additionPending = true;
}

bool CShelfwiseDoc::CompressDatabase()
{
    if (!Guard([&] { m_db.Execute(QStringLiteral("VACUUM")); }))
        return false;
    MarkChanged();
    return true;
}

int CShelfwiseDoc::AddStorage(const QString& name, const QString& notes)
{
    int id = 0;
    if (!Recorded(tr("Add Storage \"%1\"").arg(name), EditSubject(), [&] {
            id = m_db.AddStorage(name, notes);
            m_history.SetSubject(StorageSubject(id));
        }))
        return 0;
    ReloadStorages();
    MarkChanged();
    return id;
}

bool CShelfwiseDoc::RenameStorage(int storageId, const QString& name)
{
    if (!Recorded(tr("Rename \"%1\"").arg(StorageName(storageId)), StorageSubject(storageId), [&] {
            m_db.Execute(Format("UPDATE Storages SET StorageName = %s WHERE StorageID = %d",
                                {QuoteSqlString(name), storageId}));
        }))
        return false;
    ReloadStorages();
    MarkChanged();
    emit storageRenamed(storageId);
    return true;
}

bool CShelfwiseDoc::UpdateStorageNotes(int storageId, const QString& notes)
{
    const StorageRecord* storage = nullptr;
    for (const StorageRecord& record : m_storages) {
        if (record.StorageID == storageId)
            storage = &record;
    }
    if (!storage)
        return false;
    const QString name = storage->StorageName;
    if (!Recorded(tr("Change Description of \"%1\"").arg(name), StorageSubject(storageId),
                  [&] { m_db.UpdateStorage(storageId, name, notes); }))
        return false;
    ReloadStorages();
    MarkChanged();
    return true;
}

bool CShelfwiseDoc::UpdateStorage(int storageId, const QString& name, const QString& notes)
{
    if (!Recorded(tr("Change Properties of \"%1\"").arg(StorageName(storageId)),
                  StorageSubject(storageId), [&] { m_db.UpdateStorage(storageId, name, notes); }))
        return false;
    ReloadStorages();
    MarkChanged();
    emit storageRenamed(storageId);
    return true;
}

bool CShelfwiseDoc::RenameUnit(int unitId, const QString& name, QObject* sender)
{
    if (!Recorded(tr("Rename \"%1\"").arg(UnitName(unitId)), UnitSubject(unitId), [&] {
            m_db.Execute(Format("UPDATE Units SET UnitName = %s WHERE UnitID = %d",
                                {QuoteSqlString(name), unitId}));
        }))
        return false;
    MarkChanged();
    emit unitRenamed(unitId, sender);
    return true;
}

bool CShelfwiseDoc::SetUnitNotes(int unitId, const QString& notes)
{
    if (!Recorded(tr("Change Description of \"%1\"").arg(UnitName(unitId)), UnitSubject(unitId),
                  [&] { m_db.SetUnitNotes(unitId, notes); }))
        return false;
    MarkChanged();
    return true;
}

bool CShelfwiseDoc::SetUnitCategory(int unitId, int categoryId)
{
    if (!Recorded(tr("Change Category of \"%1\"").arg(UnitName(unitId)), UnitSubject(unitId), [&] {
            m_db.Execute(
                Format("UPDATE Units SET CategoryID = %d WHERE UnitID = %d", {categoryId, unitId}));
        }))
        return false;
    MarkChanged();
    emit viewsNeedUpdate(nullptr);
    return true;
}

bool CShelfwiseDoc::SetFileExtensionCategory(const QString& fileName, int categoryId)
{
    if (!Recorded(tr("Change Category of *.%1 Files").arg(CSqliteWrapper::ExtensionOf(fileName)),
                  EditSubject(), [&] { m_db.SetFileExtensionCategory(fileName, categoryId); }))
        return false;
    MarkChanged();
    emit viewsNeedUpdate(nullptr);
    return true;
}

bool CShelfwiseDoc::SetExtensionFilesCategory(const QString& extension, int categoryId)
{
    if (!Recorded(tr("Change Category of *.%1 Files").arg(extension), EditSubject(),
                  [&] { m_db.SetExtensionFilesCategory(extension, categoryId); }))
        return false;
    emit viewsNeedUpdate(nullptr);
    MarkChanged();
    return true;
}

bool CShelfwiseDoc::DropExtensionFilesCategory(const QString& extension)
{
    if (!Recorded(tr("Change Category of *.%1 Files").arg(extension), EditSubject(), [&] {
            m_db.ExecuteSingleStatement(Format("UPDATE Units SET CategoryID = 1 WHERE UnitType = "
                                               "'F' AND UnitName LIKE '%%.%s'",
                                               {SqlText::EscapeSqlQuotes(extension)}));
        }))
        return false;
    MarkChanged();
    return true;
}

bool CShelfwiseDoc::MoveUnitToStorage(int unitId, int storageId)
{
    // The unit's row moves, and with it its subtree and its share of the two storages'
    // counters, so both storages stay consistent with their units.
    const QString description =
        tr("Move \"%1\" to \"%2\"").arg(UnitName(unitId), StorageName(storageId));
    const bool moved = Recorded(description, UnitSubject(unitId), [&] {
        const UnitListItem unit = m_db.GetUnit(unitId);
        const int oldStorage = m_db.GetUnitStorageId(unitId);
        const std::vector<int> descendants = m_db.GetDescendantIds(unitId);
        qint64 files = 0;
        qint64 folders = 0;
        int discs = 0;
        if (unit.Kind == UnitKind::File) {
            files = 1;
        } else {
            const FolderDetails details = m_db.GetFolderProperties(unitId);
            files = details.SubfilesNumber;
            folders = details.SubfoldersNumber;
            const bool empty = files == 0 && folders == 0 && unit.UnitSize == 0;
            // An empty disc or folder was never counted in its storage.
            if (unit.Kind == UnitKind::Disc && !empty)
                discs = 1;
            if (unit.Kind == UnitKind::Folder && !empty)
                folders += 1;
        }
        std::vector<QString> statements{
            Format("UPDATE Units SET StorageID = %d WHERE UnitID = %d", {storageId, unitId})};
        if (!descendants.empty()) {
            QStringList ids;
            for (int id : descendants)
                ids << QString::number(id);
            statements.push_back(Format("UPDATE Units SET StorageID = %d WHERE UnitID IN (%s)",
                                        {storageId, ids.join(QLatin1Char(','))}));
        }
        const char* counters = "UPDATE Storages SET FilesNumber = FilesNumber %s %lld, "
                               "FoldersNumber = FoldersNumber %s %lld, DiscsNumber = "
                               "DiscsNumber %s %d, StorageSize = StorageSize %s %lld WHERE "
                               "StorageID = %d";
        statements.push_back(Format(
            counters, {"-", files, "-", folders, "-", discs, "-", unit.UnitSize, oldStorage}));
        statements.push_back(Format(
            counters, {"+", files, "+", folders, "+", discs, "+", unit.UnitSize, storageId}));
        m_db.ExecuteInTransaction(statements);
    });
    if (!moved)
        return false;
    ReloadStorages();
    MarkChanged();
    emit viewsNeedUpdate(nullptr);
    return true;
}

bool CShelfwiseDoc::IsTopLevelUnit(int unitId)
{
    bool topLevel = false;
    Guard([&] { topLevel = m_db.GetAncestorIds(unitId).empty(); });
    return topLevel;
}

bool CShelfwiseDoc::DeleteItem(QObject* sender, const QString& name, int id, bool isStorage)
{
    const QString question = Format(Strings::LoadString(Strings::IDS_DELETE_QUESTION), {name});
    if (!UserPrompter::Current().AskYesNo(question, UserPrompter::Icon::Question))
        return false;
    const EditSubject subject = isStorage ? StorageSubject(id) : UnitSubject(id);
    const bool deleted = Recorded(tr("Delete \"%1\"").arg(name), subject, [&] {
        if (isStorage) {
            m_db.Execute(QStringLiteral("BEGIN TRANSACTION"));
            m_db.DeleteStorage(id);
            m_db.Execute(QStringLiteral("COMMIT TRANSACTION"));
        } else {
            m_db.DeleteUnit(id);
        }
    });
    if (!deleted)
        return false;
    // A unit's storage has lost its share of the counters the status bar shows too.
    ReloadStorages();
    if ((SelectedId == id && SelectedIsStorage == isStorage))
        SelectedId = -1;
    emit viewsNeedUpdate(sender);
    MarkChanged();
    return true;
}

std::vector<UnitListItem> CShelfwiseDoc::GetSelectionChildren()
{
    std::vector<UnitListItem> items;
    if (SelectedId != -1)
        Guard([&] { m_db.GetSubunits(items, SelectedId, SelectedIsStorage); });
    return items;
}
