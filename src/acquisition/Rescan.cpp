#include "acquisition/Rescan.h"

#include "acquisition/SubunitsSearcher.h"
#include "common/WorkerEvent.h"
#include "listers/ListerFor.h"
#include "sqlitewrapper/SqlText.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QObject>
#include <QtGlobal>

#include <cerrno>

CRescan::CRescan(CSqliteWrapper& db) : m_db(db)
{
}

CRescan::~CRescan()
{
    Cancel();
    Wait();
}

bool CRescan::Start(int unitId, const QString& sourcePath, QObject* notify)
{
    Wait();
    m_cancel.store(0);
    m_outcome = WorkOutcome::Failed;
    m_result.reset();
    m_error.clear();
    m_searcher.reset();
    m_tree.reset();
    m_ownLister.reset();
    m_lister = nullptr;

    m_catalogued.clear();
    m_catalogueRead = std::promise<void>();
    if (!m_db.UnitExists(unitId) || !m_db.GetAncestorIds(unitId).empty()) {
        m_error = QStringLiteral("Unit %1 is not a disc, folder or file of a storage.").arg(unitId);
        return false;
    }
    const UnitListItem unit = m_db.GetUnit(unitId);
    m_isFile = unit.Kind != UnitKind::Disc && unit.Kind != UnitKind::Folder;
    m_unitName = m_isFile ? unit.UnitName : QString();
    m_source = sourcePath;

    if (m_isFile) {
        // A file gone, or a folder now, cannot be compared with the file catalogued.
        const QFileInfo info(sourcePath);
        if (info.isDir()) {
            m_error = QStringLiteral("%1 is a folder now; add it as a folder.").arg(sourcePath);
            return false;
        }
        if (!info.isFile()) {
            m_error =
                QStringLiteral("%1 cannot be read: %2").arg(sourcePath, qt_error_string(ENOENT));
            return false;
        }
    } else {
        // A source that is gone or cannot be opened at all is not an empty tree: nothing
        // could be compared, so nothing is reported removed.
        const QFileInfo info(sourcePath);
        if (!m_folderLister && (!info.exists() || !info.isReadable())) {
            m_error = QStringLiteral("%1 cannot be read: %2")
                          .arg(sourcePath, qt_error_string(info.exists() ? EACCES : ENOENT));
            return false;
        }
        int error = 0;
        if (!m_folderLister)
            m_ownLister = ListerFor(sourcePath, &error);
        m_lister = m_folderLister ? m_folderLister : m_ownLister.get();
        if (!m_lister) {
            m_error =
                QStringLiteral("%1 cannot be read: %2").arg(sourcePath, qt_error_string(error));
            return false;
        }
        m_tree = std::make_unique<ScannedTree>();
        m_searcher = std::make_unique<SubunitsSearcher>(*m_tree, m_lister);
        m_searcher->KeepFolderErrorsInSink(true);
    }
    // The walk starts first and the catalogue is read while it runs: the two take
    // about the same time and share nothing until the comparison.
    m_thread.Start([this, notify] { Work(notify); });
    try {
        m_db.GetSubtreeEntries(unitId, m_catalogued, &TreeComparer::MapRow);
    } catch (...) {
        Cancel();
        m_catalogueRead.set_value();
        Wait();
        throw;
    }
    m_catalogueRead.set_value();
    return true;
}

void CRescan::Cancel()
{
    // Set before the searcher is told: the worker looks again once it has started it.
    m_cancel.store(1);
    if (m_searcher)
        m_searcher->Cancel();
}

void CRescan::Wait()
{
    m_thread.Join();
}

std::optional<CChangeList> CRescan::Run(int unitId, const QString& sourcePath)
{
    if (!Start(unitId, sourcePath, nullptr))
        return std::nullopt;
    Wait();
    return m_result;
}

void CRescan::Work(QObject* notify)
{
    std::optional<CChangeList> changes;
    if (m_isFile) {
        m_catalogueRead.get_future().wait();
        if (m_cancel.load() == 0 && !m_catalogued.empty())
            changes = CompareFile();
    } else {
        // The searcher is started and joined here, on this worker: it has a thread of its
        // own, which stops at the next entry on a cancel.
        m_searcher->Start(m_source, nullptr, false);
        if (m_cancel.load() == 1)
            m_searcher->Cancel(); // a cancel that came before the walk had started
        m_searcher->Wait();
        m_catalogueRead.get_future().wait();
        if (m_tree->Finished() && m_cancel.load() == 0) {
            const bool ignoreCase = m_lister->IgnoresCase(m_source);
            changes = TreeComparer(m_catalogued, ignoreCase).Compare(*m_tree);
        }
    }
    if (m_cancel.load() == 1) {
        m_outcome = WorkOutcome::Cancelled;
    } else {
        m_outcome = WorkOutcome::Succeeded;
        m_result = std::move(changes);
    }
    if (notify)
        QCoreApplication::postEvent(notify, new WorkerEvent(m_outcome));
}

CChangeList CRescan::CompareFile()
{
    using Kind = CChangeList::Kind;
    const TreeComparer::Catalogued& old = m_catalogued.front();
    CChangeList changes;
    CChangeList::Change change;
    change.Path = m_unitName;
    change.UnitId = old.UnitId;
    change.OldSize = old.Size;
    change.OldDate = old.Modified;
    // Start made sure the source is a file.
    const QFileInfo info(m_source);
    change.NewSize = info.size();
    const QDateTime modified = info.lastModified();
    change.NewDate = modified.isValid() ? SqlText::FormatDateText(modified) : QString();
    const QDateTime created = info.birthTime();
    change.NewCreated = created.isValid() ? SqlText::FormatDateText(created) : QString();
    change.What = change.OldSize != change.NewSize || change.OldDate != change.NewDate
                      ? Kind::Changed
                      : Kind::Unchanged;
    changes.Add(std::move(change));
    return changes;
}
