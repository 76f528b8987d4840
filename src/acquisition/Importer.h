#pragma once

#include "acquisition/SubunitInfo.h"
#include "common/WorkerThread.h"

#include <QDateTime>
#include <QtGlobal>

#include <atomic>
#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

class CSqliteWrapper;
class MediaDetailsReader;
class QObject;

// Writes the scanner's records into the catalogue on a worker thread: one Units row
// per record under its parent, a media row for film, music and picture files, the
// per-folder counters kept in memory and written once at the end. Posts progress
// percentages that only rise and one end event (success, failure or cancel). The
// caller owns the transaction around it.
class CImporter final
{
public:
    explicit CImporter(CSqliteWrapper& db);
    ~CImporter();
    CImporter(const CImporter&) = delete;
    CImporter& operator=(const CImporter&) = delete;

    // The reader of film, music and picture details; by default the library-backed
    // one, made on first use. Null reads no details.
    void SetMediaReader(std::unique_ptr<MediaDetailsReader> reader);
    void DisableMediaDetails();

    void StartImport(QObject* notify, bool categorise, int fixedCategory, int storageId,
                     int rootUnitId, quint64 totalSize);
    void Cancel() { m_cancel.store(1); }
    // Blocks until the worker has ended (tests and the command line).
    void Wait();
    bool IsRunning() const;

    // The import itself, on the calling thread: returns the outcome it posts.
    int Run();

private:
    struct Totals
    {
        int files = 0;
        int folders = 0;
        quint64 size = 0;
    };

    bool ImportRecord(const SubunitInfo& record);
    const std::vector<int>& Ancestors(int folderUnitId);
    void WriteTotals();
    void PostProgress();
    QDateTime LocalTime(qint64 msecs);

    CSqliteWrapper& m_db;
    QObject* m_notify = nullptr;
    bool m_categorise = true;
    int m_fixedCategory = 1;
    int m_storageId = 0;
    int m_rootUnitId = 0;
    quint64 m_totalSize = 0;
    quint64 m_importedSize = 0;
    int m_lastPercentage = 0;
    std::atomic<int> m_cancel{0};

    std::unordered_map<quint32, int> m_idMap; // scanned folder ID -> UnitID
    std::map<int, int> m_parentMap;           // folder UnitID -> parent UnitID
    std::unordered_map<int, Totals> m_totals; // folder UnitID -> its subtree's totals
    std::unordered_map<int, std::vector<int>> m_ancestors;
    std::unordered_map<qint64, int> m_utcOffsets; // hour since 1970 -> seconds east of UTC

    bool m_readMedia = true;
    std::unique_ptr<MediaDetailsReader> m_mediaReader;
    CWorkerThread m_thread;
};
