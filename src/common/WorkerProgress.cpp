#include "common/WorkerProgress.h"

#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "common/WorkerEvent.h"

CWorkerProgress::CWorkerProgress(const QString& label, int maximum, QWidget* owner)
    : m_window(label, tr("Cancel"), 0, maximum, owner)
{
    m_window.setWindowModality(Qt::WindowModal);
    m_window.setMinimumDuration(0);
    m_window.setAutoClose(false);
    m_window.setAutoReset(false);
}

bool CWorkerProgress::Wait(const std::function<void()>& cancel)
{
    bool cancelled = false;
    const QMetaObject::Connection connection =
        connect(&m_window, &QProgressDialog::canceled, this, [&cancelled, &cancel] {
            cancelled = true;
            if (cancel)
                cancel();
        });
    m_window.show();
    if (!m_finished) {
        m_waiting = true;
        m_loop.exec();
        m_waiting = false;
    }
    disconnect(connection);
    return !cancelled;
}

void CWorkerProgress::ShowFailure(const QString& error)
{
    UserPrompter::Current().ShowMessage(
        error.isEmpty() ? Strings::LoadString(Strings::IDS_OPERATION_FAILED) : error,
        UserPrompter::Icon::Warning);
}

void CWorkerProgress::customEvent(QEvent* event)
{
    if (WorkerEvent::Is(event, WorkerEvent::Progress)) {
        const int percent = static_cast<int>(static_cast<const WorkerEvent*>(event)->WParam());
        if (m_window.maximum() > 0)
            m_window.setValue(percent);
        emit progressed(percent);
    } else if (WorkerEvent::Is(event, WorkerEvent::Finished)) {
        m_finished = true;
        if (m_waiting)
            m_loop.quit();
    }
}
