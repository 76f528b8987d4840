#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QProcess>
#include <QString>

// Headless Chromium driven over --remote-debugging-pipe (the DevTools protocol, one JSON
// message per NUL-terminated line on the child's descriptors 3 and 4), so that a page can
// be opened and asked questions in real time: a benchmark cannot use --dump-dom's
// virtual time, in which a page's clock stands still while its scripts run. POSIX only.
class CHeadlessChromium final
{
public:
    CHeadlessChromium(const QString& program, const QString& profile);
    // Closes the browser and waits for its end.
    ~CHeadlessChromium();
    CHeadlessChromium(const CHeadlessChromium&) = delete;
    CHeadlessChromium& operator=(const CHeadlessChromium&) = delete;

    // True once the browser answered its first command.
    bool Started() const { return m_started; }

    // A command's result; an empty object when it failed or no answer came within a
    // minute. session: a page's, from OpenTab; empty for the browser itself.
    QJsonObject Call(const QString& method, const QJsonObject& params = {},
                     const QString& session = QString());
    // Opens url in a new tab and returns the session that talks to it (empty on failure).
    QString OpenTab(const QString& url);
    void CloseTab(const QString& session);
    // The value of a JavaScript expression in the tab.
    QJsonValue Evaluate(const QString& session, const QString& expression);

private:
    // The next whole message from the browser; empty after a minute without one.
    QByteArray Receive();

    QProcess m_process;
    int m_toBrowser = -1;
    int m_fromBrowser = -1;
    int m_nextId = 1;
    QByteArray m_buffer;
    bool m_started = false;
};
