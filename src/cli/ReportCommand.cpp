// The report command: report FILE OUT.html [--storage STORAGE] [--level 1|2|3|all] [--open]
#include "cli/CliContext.h"
#include "cli/Interrupt.h"
#include "common/Strings.h"
#include "common/WorkerEvent.h"
#include "report/ReportWriter.h"

#include <QDir>
#include <QEvent>
#include <QEventLoop>
#include <QFileInfo>
#include <QObject>
#include <QProcess>
#include <QTimer>

#include <cstdio>

namespace {

const QString kStorage = QStringLiteral("--storage");
const QString kLevel = QStringLiteral("--level");
const QString kOpen = QStringLiteral("--open");

// How often a Ctrl+C is passed on to the worker.
constexpr int kInterruptPollMs = 50;

// Receives the worker's events on the main thread, as the report dialog does, and
// ends the local event loop when the worker has finished.
class ReportDriver final : public QObject
{
public:
    explicit ReportDriver(QEventLoop& loop) : m_loop(loop), m_progress("Writing the report") {}

    WorkOutcome Outcome() const { return m_outcome; }

protected:
    void customEvent(QEvent* event) override
    {
        const auto* workerEvent = static_cast<const WorkerEvent*>(event);
        if (WorkerEvent::Is(event, WorkerEvent::Progress)) {
            m_progress.Show(static_cast<int>(workerEvent->WParam()));
        } else if (WorkerEvent::Is(event, WorkerEvent::Finished)) {
            m_progress.Done();
            m_outcome = workerEvent->Outcome();
            m_loop.quit();
        }
    }

private:
    QEventLoop& m_loop;
    ProgressLine m_progress;
    WorkOutcome m_outcome = WorkOutcome::Failed;
};

void PrintError(const QString& text)
{
    const QByteArray bytes = (text + QLatin1Char('\n')).toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
}

// "1", "2", "3" or "all" (-1); false for anything else.
bool ParseLevel(const QString& text, int& level)
{
    if (text == QLatin1String("all")) {
        level = -1;
        return true;
    }
    if (text == QLatin1String("1") || text == QLatin1String("2") || text == QLatin1String("3")) {
        level = text.toInt();
        return true;
    }
    return false;
}

// The desktop's default handler for the page; the command line has no GUI library
// to ask, so it runs the desktop's opener.
bool OpenWithDesktop(const QString& path)
{
#if defined(Q_OS_WIN)
    return QProcess::startDetached(QStringLiteral("explorer"), {QDir::toNativeSeparators(path)});
#elif defined(Q_OS_MACOS)
    return QProcess::startDetached(QStringLiteral("open"), {path});
#else
    return QProcess::startDetached(QStringLiteral("xdg-open"), {path});
#endif
}

int Report(CliContext& ctx)
{
    const QStringList& args = ctx.Args.Positionals();
    int level = 1;
    if (ctx.Args.Has(kLevel) && !ParseLevel(ctx.Args.Value(kLevel), level))
        return ctx.UsageError(QStringLiteral("--level takes 1, 2, 3 or all"));
    if (!ctx.OpenCatalogue(args.at(0), false))
        return ExitStatus::Error;
    int storageId = -1;
    if (ctx.Args.Has(kStorage) && !ctx.ResolveStorage(ctx.Args.Value(kStorage), storageId))
        return ExitStatus::Error;

    ReportJob job;
    job.Title = QFileInfo(args.at(0)).fileName();
    job.Path = QFileInfo(args.at(1)).absoluteFilePath();
    job.Storage = storageId;
    job.NestingLevel = level;
    job.Catalogue = &ctx.Db();

    QEventLoop loop;
    ReportDriver driver(loop);
    job.Receiver = &driver;
    InterruptGuard interrupt;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&job] {
        if (InterruptGuard::Interrupted())
            CReportWriter::Cancel(job);
    });
    poll.start(kInterruptPollMs);

    CReportWriter writer;
    writer.Start(job);
    loop.exec();
    writer.Wait();
    poll.stop();

    switch (driver.Outcome()) {
    case WorkOutcome::Succeeded:
        break;
    case WorkOutcome::Cancelled:
        PrintError(Strings::LoadString(Strings::IDS_OPERATION_CANCELLED));
        return ExitStatus::Cancelled;
    default:
        return ctx.Fail(Strings::LoadString(Strings::IDS_OPERATION_FAILED));
    }
    // The window leaves an unwritable path to the browser; a script needs to know.
    if (!job.PageWritten)
        return ctx.Fail(QStringLiteral("The report could not be written to \"%1\".").arg(job.Path));
    if (ctx.Args.Has(kOpen) && !OpenWithDesktop(job.Path))
        PrintError(QStringLiteral("The report was written to \"%1\" but could not be opened.")
                       .arg(job.Path));
    return ExitStatus::Success;
}

} // namespace

std::vector<CliCommand> ReportCommands()
{
    using Arg = CliArgument;
    return {
        {"report",
         "writes the HTML report of the catalogue or of one storage",
         {Arg::Positional("FILE"), Arg::Positional("OUT.html"),
          Arg::Option(kStorage, {"STORAGE"}).Optional(),
          Arg::Option(kLevel, {Arg::Value::OneOf({"1", "2", "3", "all"})}).Optional(),
          Arg::Option(kOpen).Optional()},
         &Report,
         "Without --storage the report holds every storage. --level 1 (the default)\n"
         "lists what lies directly in each storage, 2 and 3 go that many levels down,\n"
         "all lists everything. --open hands the finished page to the desktop's\n"
         "browser."},
    };
}
