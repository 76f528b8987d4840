#include "report/ReportWriter.h"

#include "common/WorkerEvent.h"
#include "errorlog/ErrorLog.h"
#include "report/ReportPage.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <unordered_map>
#include <utility>

namespace {

const char kSource[] = "ReportWriter";
constexpr quint32 kNoUnit = 0xFFFFFFFFu;

const char* Column(int columns, char** values, int i)
{
    return i < columns && values ? values[i] : nullptr;
}

bool IsShortAscii(const char* text, size_t length)
{
    if (length > static_cast<size_t>(ReportUnit::kInlineDate))
        return false;
    for (size_t i = 0; i < length; ++i) {
        if (static_cast<unsigned char>(text[i]) >= 0x80)
            return false;
    }
    return true;
}

void MapUnit(std::vector<ReportUnit>& rows, int columns, char** values)
{
    const char* id = Column(columns, values, 0);
    const char* parent = Column(columns, values, 1);
    const char* storage = Column(columns, values, 2);
    const char* type = Column(columns, values, 4);
    const char* size = Column(columns, values, 5);
    const char* date = Column(columns, values, 6);

    ReportUnit unit;
    unit.UnitID = id ? std::atoi(id) : 0;
    unit.ParentUnitID = parent ? std::atoi(parent) : -1;
    unit.StorageID = storage ? std::atoi(storage) : 0;
    unit.Text = SqlText::FromUtf8(Column(columns, values, 3));
    unit.NameLength = static_cast<int>(unit.Text.size());
    unit.Kind = static_cast<qint8>(UnitKindFromChar(type ? type[0] : '\0'));
    unit.UnitSize = size ? std::strtoll(size, nullptr, 10) : 0;
    const size_t dateLength = date ? std::strlen(date) : 0;
    if (IsShortAscii(date, dateLength)) {
        if (dateLength > 0)
            std::memcpy(unit.Date, date, dateLength);
        unit.DateLength = static_cast<quint8>(dateLength);
    } else {
        unit.Text = unit.Text + SqlText::FromUtf8(date);
        unit.DateLength = ReportUnit::kDateInText;
    }
    rows.push_back(std::move(unit));
}

// The storages of the report: the chosen one, or all of them.
void ReadStorages(CSqliteWrapper& catalogue, int storageId, std::vector<StorageRecord>& storages)
{
    storages.clear();
    if (storageId == -1) {
        // The page lists storages and units by name, whatever order the window uses.
        catalogue.GetStoragesByName(storages);
        return;
    }
    StorageRecord record = catalogue.GetStorage(storageId);
    if (record.StorageID == storageId)
        storages.push_back(std::move(record));
}

// Every unit of the report in one query, read into compact records because a report
// may hold millions of them.
void ReadUnits(CSqliteWrapper& catalogue, int storageId, std::vector<ReportUnit>& units)
{
    catalogue.GetStorageUnitsByName(units, storageId, &MapUnit);
}

// The units' tree rebuilt from the parent ids: the children of unit i are
// children[firstChild[i]] up to children[firstChild[i + 1]], in the order the units were
// read, and the roots of each storage are the units without a parent. A unit whose
// parent is not among the units belongs nowhere and is never listed.
struct UnitTree
{
    std::vector<quint32> firstChild;
    std::vector<quint32> children;
    std::unordered_map<int, std::vector<quint32>> roots;
};

UnitTree BuildTree(const std::vector<ReportUnit>& units)
{
    const auto count = static_cast<quint32>(units.size());
    UnitTree tree;
    std::vector<quint32> parentOf(count, kNoUnit);
    {
        std::vector<std::pair<int, quint32>> byId(count);
        for (quint32 i = 0; i < count; ++i)
            byId[i] = {units[i].UnitID, i};
        std::sort(byId.begin(), byId.end());
        for (quint32 i = 0; i < count; ++i) {
            const ReportUnit& unit = units[i];
            if (unit.ParentUnitID == -1) {
                tree.roots[unit.StorageID].push_back(i);
                continue;
            }
            const auto found =
                std::lower_bound(byId.begin(), byId.end(), std::make_pair(unit.ParentUnitID, 0u));
            if (found != byId.end() && found->first == unit.ParentUnitID)
                parentOf[i] = found->second;
        }
    }

    // Count the children into firstChild[p + 1], turn the counts into starts, then fill
    // each range in reading order, advancing its start; the advanced starts are the
    // following ranges' starts, so shifting them back by one restores them.
    tree.firstChild.assign(static_cast<size_t>(count) + 1, 0);
    for (quint32 i = 0; i < count; ++i) {
        if (parentOf[i] != kNoUnit)
            ++tree.firstChild[parentOf[i] + 1];
    }
    for (quint32 i = 0; i < count; ++i)
        tree.firstChild[i + 1] += tree.firstChild[i];
    tree.children.resize(tree.firstChild[count]);
    for (quint32 i = 0; i < count; ++i) {
        if (parentOf[i] != kNoUnit)
            tree.children[tree.firstChild[parentOf[i]]++] = i;
    }
    for (quint32 i = count; i > 0; --i)
        tree.firstChild[i] = tree.firstChild[i - 1];
    tree.firstChild[0] = 0;
    return tree;
}

// The rows of one storage's table, depth-first in pre-order, with an explicit stack.
// Depth 1 is a unit lying directly in the storage; below the nesting level (unless it
// is -1) nothing is listed.
class TreeWalk final
{
public:
    TreeWalk(const UnitTree& tree, int storageId, int nestingLevel)
        : m_tree(tree), m_nestingLevel(nestingLevel)
    {
        const auto roots = tree.roots.find(storageId);
        if (roots != tree.roots.end())
            PushReversed(roots->second.data(), roots->second.data() + roots->second.size(), 1);
    }

    bool Next(quint32& unit, int& depth)
    {
        if (m_stack.empty())
            return false;
        unit = m_stack.back().first;
        depth = m_stack.back().second;
        m_stack.pop_back();
        if (m_nestingLevel == -1 || depth != m_nestingLevel) {
            const quint32* begin = m_tree.children.data() + m_tree.firstChild[unit];
            const quint32* end = m_tree.children.data() + m_tree.firstChild[unit + 1];
            PushReversed(begin, end, depth + 1);
        }
        return true;
    }

private:
    // Pushed last to first, so that they come off in list order.
    void PushReversed(const quint32* begin, const quint32* end, int depth)
    {
        while (end != begin)
            m_stack.emplace_back(*--end, depth);
    }

    const UnitTree& m_tree;
    int m_nestingLevel;
    std::vector<std::pair<quint32, int>> m_stack;
};

void Post(const ReportJob& job, int code, qintptr value)
{
    if (job.Receiver)
        QCoreApplication::postEvent(job.Receiver, new WorkerEvent(code, value));
}

WorkOutcome Finish(const ReportJob& job, WorkOutcome outcome)
{
    if (job.Receiver)
        QCoreApplication::postEvent(job.Receiver, new WorkerEvent(outcome));
    return outcome;
}

bool CancelRequested(const ReportJob& job)
{
    return job.Cancel.load() != 0;
}

// Writes the page; false when it was cancelled on the way.
bool WritePage(ReportJob& job, const std::vector<StorageRecord>& storages,
               const std::vector<ReportUnit>& units, CReportPage& page)
{
    const UnitTree tree = BuildTree(units);
    page.WriteHead(job.Title);
    for (const StorageRecord& storage : storages) {
        page.WriteTableStart(storage);
        TreeWalk walk(tree, storage.StorageID, job.NestingLevel);
        quint32 unit = 0;
        int depth = 0;
        while (walk.Next(unit, depth)) {
            if (CancelRequested(job))
                return false;
            page.WriteRow(units[unit], depth);
            ++job.Done;
            const int percent = 10 + static_cast<int>(job.Done * 90.0 / job.Total);
            if (percent > job.LastPercent) {
                job.LastPercent = percent;
                Post(job, WorkerEvent::Progress, percent);
            }
        }
        page.WriteTableEnd();
    }
    page.WriteFoot();
    return true;
}

} // namespace

CReportWriter::CReportWriter() = default;

CReportWriter::~CReportWriter()
{
    Wait();
}

void CReportWriter::Start(ReportJob& job)
{
    Wait();
    m_thread.Start([&job] { Run(job); });
}

bool CReportWriter::IsRunning() const
{
    return m_thread.IsRunning();
}

void CReportWriter::Wait()
{
    m_thread.Join();
}

void CReportWriter::Cancel(ReportJob& job)
{
    job.Cancel.exchange(1);
}

WorkOutcome CReportWriter::Run(ReportJob& job)
{
    job.Total = 0;
    job.Done = 0;
    job.LastPercent = 0;
    job.PageWritten = false;
    if (CancelRequested(job))
        return Finish(job, WorkOutcome::Cancelled);

    std::vector<StorageRecord> storages;
    std::vector<ReportUnit> units;
    try {
        ReadStorages(*job.Catalogue, job.Storage, storages);
        ReadUnits(*job.Catalogue, job.Storage, units);
    } catch (const CSqliteWrapperError& error) {
        ErrorLog::Instance().ReportException(error, true);
        return Finish(job, WorkOutcome::Failed);
    }
    if (CancelRequested(job))
        return Finish(job, WorkOutcome::Cancelled);

    job.Total = static_cast<quint32>(units.size());
    job.LastPercent = 10;
    Post(job, WorkerEvent::Progress, 10);

    try {
        // A page that cannot be created is not an error of the report: nothing is
        // written and the report ends as usual; PageWritten tells the caller.
        CReportPage page;
        if (page.Create(job.Path)) {
            if (!WritePage(job, storages, units, page)) {
                page.Close(); // the rows written so far stay
                return Finish(job, WorkOutcome::Cancelled);
            }
            job.PageWritten = page.Close();
        }
    } catch (const std::exception& error) {
        // Out of memory, most likely: the worker still ends with an outcome.
        ErrorLog::Instance().WriteLogEntry(0, QString::fromLocal8Bit(error.what()),
                                           QString::fromLatin1(kSource), __LINE__);
        return Finish(job, WorkOutcome::Failed);
    }
    return Finish(job, WorkOutcome::Succeeded);
}
