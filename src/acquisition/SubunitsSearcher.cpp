#include "acquisition/SubunitsSearcher.h"

#include "acquisition/SubunitSink.h"
#include "common/WorkerEvent.h"
#include "errorlog/ErrorLog.h"

#include <QCoreApplication>
#include <QObject>

namespace {

// Records are handed over in batches of this many, and at the end of each folder: one
// lock and one wake-up per batch, and still soon enough for a disc's import to follow
// its scan closely.
constexpr size_t kHandOverRecords = 64;

void Post(QObject* notify, int code, qintptr wParam)
{
    if (notify)
        QCoreApplication::postEvent(notify, new WorkerEvent(code, wParam));
}

} // namespace

SubunitsSearcher::SubunitsSearcher(SubunitSink& sink, FolderLister* lister)
    : m_sink(sink), m_lister(lister)
{
    if (!m_lister) {
        m_ownLister = FolderLister::CreatePlatformLister();
        m_lister = m_ownLister.get();
    }
}

SubunitsSearcher::~SubunitsSearcher()
{
    // The notify object may be going away with this searcher: post nothing more.
    m_notify.store(nullptr);
    Cancel();
    Wait();
}

void SubunitsSearcher::Start(const QString& rootPath, QObject* notify, bool countSizes)
{
    Wait();

    m_notify.store(notify);
    m_countSizes = countSizes;
    m_totalSize.store(0);
    m_cancel.store(0);

    m_pending.clear();
    m_entered.clear();
    m_lastId = 0; // the first record gets 1
    m_pending.push_back({std::make_shared<const QString>(rootPath), 0});
    if (!m_errorsToSink)
        ErrorLog::Instance().ClearFileSystemErrors();

    m_thread.Start([this] { Run(); });
}

void SubunitsSearcher::Cancel()
{
    m_cancel.exchange(1);
}

void SubunitsSearcher::Wait()
{
    m_thread.Join();
}

void SubunitsSearcher::Run()
{
    while (!m_pending.empty()) {
        if (CancelRequested()) {
            EndCancelled();
            return;
        }
        // A copy: listing appends to the pending queue.
        const PendingFolder folder = m_pending.front();
        if (!ListFolder(folder)) {
            EndCancelled();
            return;
        }
        m_pending.pop_front();
    }
    // Set after the last push: the importer may then read the queue without the lock.
    m_sink.SetFinished();
    if (m_countSizes)
        Post(m_notify.load(), WorkerEvent::Walked, 0);
}

bool SubunitsSearcher::ListFolder(const PendingFolder& folder)
{
    bool cancelled = false;

    const auto opened = [this](const FolderIdentity& identity) {
        // A folder reached a second time (through a bind mount) is not listed again.
        return !identity.Known || m_entered.insert({identity.Device, identity.Inode}).second;
    };
    const auto entry = [&](const FindData& data) {
        if (CancelRequested()) {
            cancelled = true;
            return false;
        }
        SubunitInfo& info = m_batch.emplace_back();
        info.ID = ++m_lastId;
        info.ParentID = folder.ID;
        info.Data = data;
        info.FolderPath = folder.Path;
        if (!info.IsFile())
            m_pending.push_back({std::make_shared<const QString>(info.Path()), info.ID});
        else if (m_countSizes)
            m_totalSize.fetch_add(data.Size, std::memory_order_relaxed);
        if (m_batch.size() >= kHandOverRecords)
            m_sink.PushBatch(m_batch);
        return true;
    };

    const int error = m_lister->List(*folder.Path, opened, entry);
    // What was read before a cancel is handed over too, as it would have been one by one.
    m_sink.PushBatch(m_batch);
    if (cancelled)
        return false;
    if (error != 0 && m_errorsToSink)
        m_sink.AddUnreadableFolder(folder.ID, *folder.Path, error);
    else if (error != 0)
        ErrorLog::Instance().ReportFileSystemError(*folder.Path, error);
    return true;
}

void SubunitsSearcher::EndCancelled()
{
    m_sink.SetCancelled();
    m_pending.clear();
    if (QObject* notify = m_notify.load())
        QCoreApplication::postEvent(notify, new WorkerEvent(WorkOutcome::Cancelled));
}
