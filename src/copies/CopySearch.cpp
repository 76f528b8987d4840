#include "copies/CopySearch.h"

#include "common/WorkerEvent.h"
#include "copies/FileKey.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QCoreApplication>
#include <QObject>

#include <algorithm>
#include <string>
#include <unordered_map>

namespace {

// The pass over every file takes this share of the progress; reading the candidates
// back and grouping them, the rest.
constexpr int kPassShare = 90;
// Candidates read back per statement batch, between two looks at the cancel flag.
constexpr size_t kIdsPerRead = 100000;

// One file of the pass: all the duplicates search keeps of it.
struct HashedId
{
    quint64 Hash;
    int UnitID;
};

// The modification text the hash takes: none without the date option, and an absent
// date as an empty one, as CatalogueFile reads it.
const char* DateFor(const FileKeyRow& row, bool withDate)
{
    if (!withDate)
        return nullptr;
    return row.Modified ? row.Modified : "";
}

} // namespace

qint64 CCopySearch::Group::SpareBytes() const
{
    return Copies.empty() ? 0 : Size * static_cast<qint64>(Copies.size() - 1);
}

CCopySearch::CCopySearch(CSqliteWrapper& db) : m_db(db)
{
}

CCopySearch::~CCopySearch()
{
    Cancel();
    Wait();
}

void CCopySearch::Reset()
{
    Wait();
    m_cancel.store(0);
    m_outcome = WorkOutcome::Failed;
    m_groups.clear();
    m_unique.clear();
    m_error.clear();
    m_lastPercent = -1;
}

void CCopySearch::StartDuplicates(const Options& options, QObject* notify)
{
    Reset();
    m_options = options;
    m_thread.Start([this, notify] { Run(true, notify); });
}

bool CCopySearch::StartUnique(int unitId, QObject* notify)
{
    Reset();
    const UnitKind kind = m_db.UnitExists(unitId) ? m_db.GetUnit(unitId).Kind : UnitKind::Unset;
    if (kind != UnitKind::Disc && kind != UnitKind::Folder) {
        m_error = QStringLiteral("Unit %1 is not a disc or folder.").arg(unitId);
        return false;
    }
    m_unitId = unitId;
    m_thread.Start([this, notify] { Run(false, notify); });
    return true;
}

void CCopySearch::Cancel()
{
    m_cancel.store(1);
}

void CCopySearch::Wait()
{
    m_thread.Join();
}

void CCopySearch::Run(bool duplicates, QObject* notify)
{
    bool finished = false;
    try {
        finished = duplicates ? FindDuplicates(notify) : FindUnique(notify);
        m_outcome =
            finished && m_cancel.load() == 0 ? WorkOutcome::Succeeded : WorkOutcome::Cancelled;
    } catch (const CSqliteWrapperError& error) {
        m_error = QString::fromUtf8(error.what());
        m_outcome = WorkOutcome::Failed;
    } catch (const std::bad_alloc&) {
        m_error = QStringLiteral("There is not enough memory to compare the files.");
        m_outcome = WorkOutcome::Failed;
    }
    if (m_outcome != WorkOutcome::Succeeded) {
        m_groups.clear();
        m_unique.clear();
    } else {
        Progress(notify, 100);
    }
    if (notify)
        QCoreApplication::postEvent(notify, new WorkerEvent(m_outcome));
}

void CCopySearch::Progress(QObject* notify, int percent)
{
    if (!notify || percent == m_lastPercent)
        return;
    m_lastPercent = percent;
    QCoreApplication::postEvent(notify, new WorkerEvent(WorkerEvent::Progress, percent));
}

bool CCopySearch::FindDuplicates(QObject* notify)
{
    Progress(notify, 0);
    const qint64 maxId = std::max(1, m_db.GetMaxUnitId());
    // Ids only grow, so the highest one bounds the number of files: one allocation,
    // never a copy of the whole array while it grows.
    std::vector<HashedId> files;
    files.reserve(static_cast<size_t>(maxId));
    const bool withDate = m_options.WithDate;
    const bool complete = m_db.VisitFiles(m_options.MinSize, withDate, [&](const FileKeyRow& row) {
        if (m_cancel.load(std::memory_order_relaxed) != 0)
            return false;
        files.push_back({FileKey::Hash(row.Name, row.Size, DateFor(row, withDate)), row.UnitID});
        Progress(notify, static_cast<int>(kPassShare * row.UnitID / maxId));
        return true;
    });
    if (!complete || m_cancel.load() != 0)
        return false;

    std::sort(files.begin(), files.end(), [](const HashedId& a, const HashedId& b) {
        return a.Hash != b.Hash ? a.Hash < b.Hash : a.UnitID < b.UnitID;
    });
    std::vector<int> candidates;
    for (size_t first = 0; first < files.size();) {
        size_t end = first + 1;
        while (end < files.size() && files[end].Hash == files[first].Hash)
            ++end;
        if (end - first > 1) {
            for (size_t i = first; i < end; ++i)
                candidates.push_back(files[i].UnitID);
        }
        first = end;
    }
    std::vector<HashedId>().swap(files);
    std::sort(candidates.begin(), candidates.end());

    std::vector<CatalogueFile> rows;
    rows.reserve(candidates.size());
    for (size_t first = 0; first < candidates.size(); first += kIdsPerRead) {
        if (m_cancel.load() != 0)
            return false;
        const size_t end = std::min(candidates.size(), first + kIdsPerRead);
        std::vector<CatalogueFile> part;
        m_db.GetFilesById(std::vector<int>(candidates.begin() + static_cast<ptrdiff_t>(first),
                                           candidates.begin() + static_cast<ptrdiff_t>(end)),
                          part);
        std::move(part.begin(), part.end(), std::back_inserter(rows));
        Progress(notify,
                 kPassShare + static_cast<int>((100 - kPassShare - 1) * end / candidates.size()));
    }
    GroupCopies(rows);
    return m_cancel.load() == 0;
}

void CCopySearch::GroupCopies(std::vector<CatalogueFile>& rows)
{
    // The hash already brought copies together; sorting by the texts as well keeps apart
    // the rare files whose hashes meet by chance.
    struct Keyed
    {
        quint64 Hash;
        QString Folded;
        CatalogueFile* File;
    };
    const bool withDate = m_options.WithDate;
    std::vector<Keyed> keyed;
    keyed.reserve(rows.size());
    for (CatalogueFile& file : rows) {
        keyed.push_back({FileKey::Hash(file.Name, file.Size, withDate ? &file.Modified : nullptr),
                         file.Name.toCaseFolded(), &file});
    }
    const auto sameCopy = [withDate](const Keyed& a, const Keyed& b) {
        return a.Hash == b.Hash && a.File->Size == b.File->Size && a.Folded == b.Folded &&
               (!withDate || a.File->Modified == b.File->Modified);
    };
    std::sort(keyed.begin(), keyed.end(), [withDate](const Keyed& a, const Keyed& b) {
        if (a.Hash != b.Hash)
            return a.Hash < b.Hash;
        if (a.File->Size != b.File->Size)
            return a.File->Size < b.File->Size;
        if (a.Folded != b.Folded)
            return a.Folded < b.Folded;
        if (withDate && a.File->Modified != b.File->Modified)
            return a.File->Modified < b.File->Modified;
        return a.File->UnitID < b.File->UnitID;
    });
    for (size_t first = 0; first < keyed.size();) {
        size_t end = first + 1;
        while (end < keyed.size() && sameCopy(keyed[first], keyed[end]))
            ++end;
        if (end - first > 1) {
            Group group;
            group.Size = keyed[first].File->Size;
            for (size_t i = first; i < end; ++i)
                group.Copies.push_back(std::move(*keyed[i].File));
            m_groups.push_back(std::move(group));
        }
        first = end;
    }
    // Largest waste first; equal ones by name, then by where the first copy was added.
    std::sort(m_groups.begin(), m_groups.end(), [](const Group& a, const Group& b) {
        if (a.SpareBytes() != b.SpareBytes())
            return a.SpareBytes() > b.SpareBytes();
        const int byName =
            a.Copies.front().Name.compare(b.Copies.front().Name, Qt::CaseInsensitive);
        if (byName != 0)
            return byName < 0;
        return a.Copies.front().UnitID < b.Copies.front().UnitID;
    });
}

bool CCopySearch::FindUnique(QObject* notify)
{
    Progress(notify, 0);
    std::vector<CatalogueFile> own;
    m_db.GetSubtreeFiles(m_unitId, own); // by UnitID
    // The hash of each of the unit's own files, with its folded name for the exact test.
    std::unordered_map<quint64, std::vector<size_t>> byHash;
    std::vector<std::string> folded;
    folded.reserve(own.size());
    for (size_t i = 0; i < own.size(); ++i) {
        folded.push_back(FileKey::FoldedName(own[i].Name.toUtf8().constData()));
        byHash[FileKey::Hash(own[i].Name, own[i].Size, nullptr)].push_back(i);
    }
    std::vector<char> elsewhere(own.size(), 0);
    const qint64 maxId = std::max(1, m_db.GetMaxUnitId());
    const auto isOwn = [&own](int unitId) {
        const auto it =
            std::lower_bound(own.begin(), own.end(), unitId,
                             [](const CatalogueFile& file, int id) { return file.UnitID < id; });
        return it != own.end() && it->UnitID == unitId;
    };
    const bool complete = own.empty() || m_db.VisitFiles(0, false, [&](const FileKeyRow& row) {
        if (m_cancel.load(std::memory_order_relaxed) != 0)
            return false;
        Progress(notify, static_cast<int>(99 * row.UnitID / maxId));
        const auto found = byHash.find(FileKey::Hash(row.Name, row.Size, nullptr));
        if (found == byHash.end() || isOwn(row.UnitID))
            return true;
        const std::string name = FileKey::FoldedName(row.Name);
        for (size_t i : found->second) {
            if (own[i].Size == row.Size && folded[i] == name)
                elsewhere[i] = 1;
        }
        return true;
    });
    if (!complete || m_cancel.load() != 0)
        return false;
    for (size_t i = 0; i < own.size(); ++i) {
        if (elsewhere[i] == 0)
            m_unique.push_back(std::move(own[i]));
    }
    // What would be lost, the largest first.
    std::stable_sort(
        m_unique.begin(), m_unique.end(),
        [](const CatalogueFile& a, const CatalogueFile& b) { return a.Size > b.Size; });
    return true;
}
