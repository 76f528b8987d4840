#include "document/CatalogueFile.h"

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

using SqlText::Format;

namespace {

// The log names the document as the source of what goes wrong with its file.
const char kSourceName[] = "ShelfwiseDoc";

} // namespace

CCatalogueFile::CCatalogueFile(bool uniqueWorkingCopy, QObject* parent) : QObject(parent)
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
}

CCatalogueFile::~CCatalogueFile()
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
}

void CCatalogueFile::ReportDatabaseError(const CSqliteWrapperError& error)
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

void CCatalogueFile::ReportFailure(const std::exception& error)
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

void CCatalogueFile::ApplySortOrder()
{
    m_db.SetSortByName(Settings::Instance().UnitsOrder == UnitsOrder::Alphabetic);
}

void CCatalogueFile::ReplaceWorkingCopy(const QString& source)
{
    // The connection lets go of the old copy first, and the old copy goes, so a copy
    // that fails can never leave the previous catalogue standing in for the new one.
    Guard([&] { m_db.Close(); });
    QFile::remove(m_workingCopyPath);
    FileCopy::CopyOver(source, m_workingCopyPath);
}

void CCatalogueFile::TuneWorkingCopy()
{
    // The working copy is disposable: Save copies it to the user's file, and a crash
    // leaves that file untouched. So SQLite need not wait for the disk on every spill
    // of a large addition's transaction.
    m_db.SkipDiskSync();
}

void CCatalogueFile::FinishLoading()
{
    // The document reads its caches from the new catalogue before it counts as loaded.
    emit loaded(m_reopeningSaved);
    m_loaded = true;
}

bool CCatalogueFile::New()
{
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

void CCatalogueFile::ReportOpenFailure(const QString& path, int code, const QString& detail)
{
    const QString headline = Strings::LoadString(Strings::IDS_NOT_A_CATALOGUE);
    QString text = headline + QStringLiteral("\n\n") + QDir::toNativeSeparators(path);
    if (!detail.isEmpty() && detail != headline)
        text += QStringLiteral("\n\n") + detail;
    ErrorLog::Instance().ReportError(code, text, QString::fromLatin1(kSourceName), __LINE__, false,
                                     false);
}

bool CCatalogueFile::PrepareToOpen(const QString& path, const QString& candidate)
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

bool CCatalogueFile::Open(const QString& path)
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

bool CCatalogueFile::Save(const QString& path)
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
    // The file just written holds the working copy's rows: what the document keeps
    // about them (the history) still applies.
    m_reopeningSaved = true;
    Open(path);
    m_reopeningSaved = false;
    return true;
}

bool CCatalogueFile::RenameWorkingCopy(const QString& newPath)
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

void CCatalogueFile::KeepWorkingCopy(const QString& path)
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

bool CCatalogueFile::SaveWithName()
{
    QString path = m_cataloguePath;
    if (NeedsFileName()) {
        path = UserPrompter::Current().AskSaveFileName();
        if (path.isEmpty())
            return false;
    }
    Save(path);
    return m_lastSaveReachedFile;
}

bool CCatalogueFile::Compress()
{
    return Guard([&] { m_db.Compact(); });
}

void CCatalogueFile::SetModified(bool changed)
{
    const bool was = m_bChanged;
    m_bChanged = changed;
    if (was != changed)
        emit modifiedChanged(changed);
}
