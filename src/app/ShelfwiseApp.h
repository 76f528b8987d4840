#pragma once

#include "views/WidgetPrompter.h"

#include <QLockFile>
#include <QObject>
#include <QStringList>

#include <memory>

class CInstanceChannel;
class CMainFrame;
class CShelfwiseDoc;

// The desktop program: one instance per settings folder (a later start hands its
// catalogue to the running window, which comes to the front and opens it, and ends),
// the main window shown as the last run left it (maximised the first time), the
// start-up backup, and the catalogue to begin with: the one on the command line, else
// the most recent one, else (on a first start) the sample catalogue if the user wants it.
class CShelfwiseApp final : public QObject
{
    Q_OBJECT

public:
    // Questions and messages go to prompter when given (tests), else to message boxes.
    explicit CShelfwiseApp(UserPrompter* prompter = nullptr);
    ~CShelfwiseApp() override;

    // False when the program should end at once (another instance runs).
    bool InitInstance(const QStringList& arguments);
    CMainFrame* MainFrame() const { return m_frame.get(); }
    CShelfwiseDoc* Document() const { return m_doc.get(); }

    // The single-instance lock of a settings folder, and the name of the local socket
    // on which its window takes catalogues from later starts.
    static QString LockPath(const QString& settingsFolder);
    static QString ChannelName(const QString& settingsFolder);

private:
    // A later start asked for path (empty: only to be shown).
    void OnFileRequested(const QString& path);

    CWidgetPrompter m_widgetPrompter;
    UserPrompter* m_prompter;
    std::unique_ptr<QLockFile> m_lock;
    std::unique_ptr<CInstanceChannel> m_channel;
    QString m_pendingRequest; // asked for while a dialog was open
    std::unique_ptr<CShelfwiseDoc> m_doc;
    std::unique_ptr<CMainFrame> m_frame;
};
