// shelfwise-cli on drives made up from SHELFWISE_FAKE_DRIVES (see FakeDriveSystem.h), so
// that tests can run the real command line against discs a test machine cannot have.
// Built for the tests only; the shipped program knows no such variable.
#include "FakeDriveSystem.h"

#include "cli/CliMain.h"
#include "cli/Interrupt.h"
#include "common/LocalTimeZone.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QtGlobal>

namespace {

// A command passes Ctrl+C on to its worker from a timer of its main thread, which
// nothing outside the process can see. With SHELFWISE_INTERRUPT_SEEN set, the file it
// names is made once a timer has run after the interrupt, so that a test can wait for it.
class InterruptSeen final : public QObject
{
public:
    explicit InterruptSeen(const QString& marker)
        : QObject(QCoreApplication::instance()), m_marker(marker)
    {
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Timer && !m_seen && InterruptGuard::Interrupted()) {
            m_seen = true;
            // Queued, so that it runs after the timer's own handler.
            QMetaObject::invokeMethod(
                this, [this] { QFile(m_marker).open(QIODevice::WriteOnly); }, Qt::QueuedConnection);
        }
        return QObject::eventFilter(watched, event);
    }

private:
    QString m_marker;
    bool m_seen = false;
};

void WatchForInterrupts()
{
    if (qEnvironmentVariableIsSet("SHELFWISE_INTERRUPT_SEEN"))
        QCoreApplication::instance()->installEventFilter(
            new InterruptSeen(qEnvironmentVariable("SHELFWISE_INTERRUPT_SEEN")));
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(WatchForInterrupts)

int main(int argc, char** argv)
{
    LocalTimeZone::PinSystemZone();
    return RunShelfwiseCli(argc, argv, []() -> std::shared_ptr<DriveSystem> {
        auto fake = FakeDriveSystem::FromDescription(qEnvironmentVariable("SHELFWISE_FAKE_DRIVES"));
        if (qEnvironmentVariableIsSet("SHELFWISE_FAKE_DRIVES_LOG"))
            fake->SetCallLog(qEnvironmentVariable("SHELFWISE_FAKE_DRIVES_LOG"));
        return fake;
    });
}
