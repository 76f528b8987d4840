#include "app/ShelfwiseApp.h"

#include "app/InstanceChannel.h"
#include "common/Strings.h"
#include "document/DataFiles.h"
#include "document/ShelfwiseDoc.h"
#include "document/StartupBackup.h"
#include "document/WorkingCopies.h"
#include "settings/Settings.h"
#include "views/MainFrame.h"

#include <QApplication>
#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QTimer>

namespace {

// The same text names the lock and the socket of one settings folder.
QString InstanceKey(const QString& settingsFolder)
{
    const QByteArray hash =
        QCryptographicHash::hash(QDir::cleanPath(settingsFolder).toUtf8(), QCryptographicHash::Sha1)
            .toHex()
            .left(12);
    return QStringLiteral("{5E0B7C42-9A1D-4F36-8E25-C3D1A7F06B98}-") + QString::fromLatin1(hash);
}

// How long a later start waits for a window that holds the lock but does not listen
// yet (it is starting up).
constexpr int kHandOverMs = 5000;
// How often a request that came while a dialog was open is tried again.
constexpr int kRetryMs = 300;

} // namespace

CShelfwiseApp::CShelfwiseApp(UserPrompter* prompter)
    : m_prompter(prompter ? prompter : &m_widgetPrompter)
{
}

CShelfwiseApp::~CShelfwiseApp()
{
    // The window goes before the document it shows; the document deletes the working
    // copy and writes changed settings.
    m_frame.reset();
    m_doc.reset();
    UserPrompter::SetCurrent(nullptr);
}

QString CShelfwiseApp::LockPath(const QString& settingsFolder)
{
    return QDir::tempPath() + QLatin1Char('/') + InstanceKey(settingsFolder) +
           QStringLiteral(".lock");
}

QString CShelfwiseApp::ChannelName(const QString& settingsFolder)
{
    return InstanceKey(settingsFolder);
}

bool CShelfwiseApp::InitInstance(const QStringList& arguments)
{
    const QString folder = SettingsFolder();
    const QString given = arguments.value(1);
    m_channel = std::make_unique<CInstanceChannel>(ChannelName(folder));
    m_lock = std::make_unique<QLockFile>(LockPath(folder));
    m_lock->setStaleLockTime(0);
    if (!m_lock->tryLock(0)) {
        // A window runs for this settings folder: it opens the catalogue given here
        // (a file manager's double-click) or just comes to the front, and this start
        // ends without a window of its own.
        m_channel->Send(given.isEmpty() ? QString() : QFileInfo(given).absoluteFilePath(),
                        kHandOverMs);
        return false;
    }

    UserPrompter::SetCurrent(m_prompter);
    DataFiles::InstallMissing(DataFiles::InstalledFolder(), folder);
    // No other window uses this settings folder: every window copy in it is stale.
    WorkingCopies::RemoveStale(folder, true);

    m_doc = std::make_unique<CShelfwiseDoc>(false);
    QGuiApplication::setWindowIcon(CUnitIcons::ThemeIcon("shelfwise"));
    m_frame = std::make_unique<CMainFrame>(*m_doc);
    m_widgetPrompter.SetWindow(m_frame.get());
    connect(m_channel.get(), &CInstanceChannel::fileRequested, this,
            &CShelfwiseApp::OnFileRequested);
    m_channel->Listen();

    if (!given.isEmpty())
        m_frame->OpenCatalogue(given);
    else
        m_frame->NewCatalogue();
    m_frame->ShowAsLeft();

    StartupBackup::Run(Settings::Instance(), m_frame->RecentFiles(), *m_prompter,
                       QDateTime::currentDateTimeUtc());
    // A catalogue from the command line leads the recent-file list already, or failed
    // and was reported with a new catalogue standing in for it.
    if (!given.isEmpty())
        return true;
    const QStringList recent = m_frame->RecentFiles();
    if (recent.isEmpty()) {
        if (m_prompter->AskYesNo(Strings::IDS_OPEN_SAMPLE_QUESTION, UserPrompter::Icon::Question))
            m_frame->OpenCatalogue(folder + QStringLiteral("test.db3"));
    } else {
        m_frame->OpenCatalogue(recent.first());
    }
    return true;
}

void CShelfwiseApp::OnFileRequested(const QString& path)
{
    if (!m_frame)
        return;
    m_frame->BringToFront();
    if (!path.isEmpty())
        m_pendingRequest = path;
    if (m_pendingRequest.isEmpty())
        return;
    // A question or dialog the user is answering comes first; the catalogue opens
    // once it is closed.
    if (QApplication::activeModalWidget()) {
        QTimer::singleShot(kRetryMs, this, [this] { OnFileRequested(QString()); });
        return;
    }
    const QString requested = m_pendingRequest;
    m_pendingRequest.clear();
    m_frame->OpenChosen(requested);
}
