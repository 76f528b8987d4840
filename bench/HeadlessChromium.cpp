#include "HeadlessChromium.h"

#include <QJsonDocument>
#include <QStringList>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr int kAnswerMs = 60000;

// The descriptor moved above the ones being placed, open across exec.
int Lifted(int fd)
{
    return fcntl(fd, F_DUPFD, 10);
}

} // namespace

CHeadlessChromium::CHeadlessChromium(const QString& program, const QString& profile)
{
    int toBrowser[2] = {-1, -1};
    int fromBrowser[2] = {-1, -1};
    if (pipe2(toBrowser, O_CLOEXEC) != 0 || pipe2(fromBrowser, O_CLOEXEC) != 0)
        return;
    m_toBrowser = toBrowser[1];
    m_fromBrowser = fromBrowser[0];
    const int childIn = toBrowser[0];
    const int childOut = fromBrowser[1];
    m_process.setChildProcessModifier([childIn, childOut] {
        const int in = Lifted(childIn);
        const int out = Lifted(childOut);
        dup2(in, 3);
        dup2(out, 4);
    });
    m_process.setStandardOutputFile(QProcess::nullDevice());
    m_process.setStandardErrorFile(QProcess::nullDevice());
    m_process.start(program,
                    {QStringLiteral("--headless"), QStringLiteral("--no-sandbox"),
                     QStringLiteral("--disable-gpu"), QStringLiteral("--user-data-dir=") + profile,
                     QStringLiteral("--remote-debugging-pipe"), QStringLiteral("about:blank")});
    close(childIn);
    close(childOut);
    m_started = m_process.waitForStarted() && !Call(QStringLiteral("Browser.getVersion")).isEmpty();
}

CHeadlessChromium::~CHeadlessChromium()
{
    if (m_started)
        Call(QStringLiteral("Browser.close"));
    if (m_toBrowser >= 0)
        close(m_toBrowser);
    if (m_fromBrowser >= 0)
        close(m_fromBrowser);
    if (!m_process.waitForFinished(10000)) {
        m_process.kill();
        m_process.waitForFinished();
    }
}

QJsonObject CHeadlessChromium::Call(const QString& method, const QJsonObject& params,
                                    const QString& session)
{
    if (m_toBrowser < 0)
        return {};
    const int id = m_nextId++;
    QJsonObject message{{QStringLiteral("id"), id}, {QStringLiteral("method"), method}};
    if (!params.isEmpty())
        message.insert(QStringLiteral("params"), params);
    if (!session.isEmpty())
        message.insert(QStringLiteral("sessionId"), session);
    QByteArray bytes = QJsonDocument(message).toJson(QJsonDocument::Compact);
    bytes.append('\0');
    for (qsizetype sent = 0; sent < bytes.size();) {
        const ssize_t n =
            write(m_toBrowser, bytes.constData() + sent, static_cast<size_t>(bytes.size() - sent));
        if (n <= 0)
            return {};
        sent += n;
    }
    // Events and other answers come in between; they are passed over.
    for (;;) {
        const QByteArray answer = Receive();
        if (answer.isEmpty())
            return {};
        const QJsonObject reply = QJsonDocument::fromJson(answer).object();
        if (reply.value(QStringLiteral("id")).toInt() != id)
            continue;
        if (reply.contains(QStringLiteral("error")))
            return {};
        QJsonObject result = reply.value(QStringLiteral("result")).toObject();
        // An answer with nothing to say is still an answer.
        if (result.isEmpty())
            result.insert(QStringLiteral("done"), true);
        return result;
    }
}

QString CHeadlessChromium::OpenTab(const QString& url)
{
    const QString target =
        Call(QStringLiteral("Target.createTarget"), {{QStringLiteral("url"), url}})
            .value(QStringLiteral("targetId"))
            .toString();
    if (target.isEmpty())
        return QString();
    return Call(QStringLiteral("Target.attachToTarget"),
                {{QStringLiteral("targetId"), target}, {QStringLiteral("flatten"), true}})
        .value(QStringLiteral("sessionId"))
        .toString();
}

void CHeadlessChromium::CloseTab(const QString& session)
{
    Call(QStringLiteral("Page.close"), {}, session);
}

QJsonValue CHeadlessChromium::Evaluate(const QString& session, const QString& expression)
{
    return Call(QStringLiteral("Runtime.evaluate"),
                {{QStringLiteral("expression"), expression},
                 {QStringLiteral("returnByValue"), true}},
                session)
        .value(QStringLiteral("result"))
        .toObject()
        .value(QStringLiteral("value"));
}

QByteArray CHeadlessChromium::Receive()
{
    for (;;) {
        const qsizetype end = m_buffer.indexOf('\0');
        if (end >= 0) {
            const QByteArray message = m_buffer.left(end);
            m_buffer.remove(0, end + 1);
            return message;
        }
        pollfd ready{m_fromBrowser, POLLIN, 0};
        if (poll(&ready, 1, kAnswerMs) <= 0)
            return {};
        char chunk[65536];
        const ssize_t n = read(m_fromBrowser, chunk, sizeof chunk);
        if (n <= 0)
            return {};
        m_buffer.append(chunk, n);
    }
}
