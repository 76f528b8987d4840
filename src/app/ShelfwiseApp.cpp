#include "app/ShelfwiseApp.h"

#include "common/Strings.h"
#include "document/DataFiles.h"
#include "document/ShelfwiseDoc.h"
#include "document/StartupBackup.h"
#include "document/WorkingCopies.h"
#include "settings/Settings.h"
#include "views/MainFrame.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>

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
    const QByteArray hash =
        QCryptographicHash::hash(QDir::cleanPath(settingsFolder).toUtf8(), QCryptographicHash::Sha1)
            .toHex()
            .left(12);
    return QDir::tempPath() + QStringLiteral("/{5E0B7C42-9A1D-4F36-8E25-C3D1A7F06B98}-") +
           QString::fromLatin1(hash) + QStringLiteral(".lock");
}

bool CShelfwiseApp::InitInstance(const QStringList& arguments)
{
    const QString folder = SettingsFolder();
    m_lock = std::make_unique<QLockFile>(LockPath(folder));
    m_lock->setStaleLockTime(0);
    if (!m_lock->tryLock(0))
        return false;

    UserPrompter::SetCurrent(m_prompter);
    DataFiles::InstallMissing(DataFiles::InstalledFolder(), folder);
    // No other window uses this settings folder: every window copy in it is stale.
    WorkingCopies::RemoveStale(folder, true);

    m_doc = std::make_unique<CShelfwiseDoc>(false);
    m_frame = std::make_unique<CMainFrame>(*m_doc);
    m_widgetPrompter.SetWindow(m_frame.get());

    const QString given = arguments.value(1);
    bool opened = false;
    if (!given.isEmpty())
        opened = m_frame->OpenCatalogue(given);
    else
        m_frame->NewCatalogue();
    m_frame->showMaximized();

    StartupBackup::Run(Settings::Instance(), m_frame->RecentFiles(), *m_prompter,
                       QDateTime::currentDateTimeUtc());
    if (opened)
        return true; // it leads the recent-file list already
    const QStringList recent = m_frame->RecentFiles();
    if (!given.isEmpty())
        return true; // it failed and was reported; a new catalogue stands
    if (recent.isEmpty()) {
        if (m_prompter->AskYesNo(Strings::IDS_OPEN_SAMPLE_QUESTION, UserPrompter::Icon::Question))
            m_frame->OpenCatalogue(folder + QStringLiteral("test.db3"));
    } else {
        m_frame->OpenCatalogue(recent.first());
    }
    return true;
}
