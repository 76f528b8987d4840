#include "app/InstanceChannel.h"

#include <QElapsedTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QThread>

namespace {

// A request is one line of UTF-8: the path, or nothing. Anything longer than a path
// can be is not from a start of this program.
constexpr qint64 kMaxRequest = 64 * 1024;

} // namespace

CInstanceChannel::CInstanceChannel(QString name, QObject* parent)
    : QObject(parent), m_name(std::move(name))
{
}

CInstanceChannel::~CInstanceChannel() = default;

bool CInstanceChannel::Listen()
{
    m_server = std::make_unique<QLocalServer>();
    // Only this user's programs may hand the window a file.
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    QLocalServer::removeServer(m_name);
    if (!m_server->listen(m_name)) {
        m_server.reset();
        return false;
    }
    connect(m_server.get(), &QLocalServer::newConnection, this, &CInstanceChannel::OnNewConnection);
    return true;
}

void CInstanceChannel::OnNewConnection()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { OnReadyRead(socket); });
        // Bytes may have come with the connection itself.
        if (socket->bytesAvailable() > 0)
            OnReadyRead(socket);
    }
}

void CInstanceChannel::OnReadyRead(QLocalSocket* socket)
{
    if (!socket->canReadLine()) {
        if (socket->bytesAvailable() > kMaxRequest)
            socket->abort();
        return;
    }
    QByteArray line = socket->readLine(kMaxRequest);
    if (line.endsWith('\n'))
        line.chop(1);
    // One request per connection; the sender waits for this to know it was heard.
    socket->write("ok\n");
    socket->flush();
    socket->disconnectFromServer();
    emit fileRequested(QString::fromUtf8(line));
}

bool CInstanceChannel::Send(const QString& path, int timeoutMs) const
{
    QElapsedTimer elapsed;
    elapsed.start();
    for (;;) {
        QLocalSocket socket;
        socket.connectToServer(m_name);
        if (socket.waitForConnected(std::max(1, timeoutMs - static_cast<int>(elapsed.elapsed())))) {
            socket.write(path.toUtf8() + '\n');
            if (!socket.waitForBytesWritten(timeoutMs))
                return false;
            // The answer says the window read the request; without it the window
            // might never see it once this process ends.
            while (!socket.canReadLine()) {
                if (!socket.waitForReadyRead(timeoutMs))
                    return false;
            }
            return socket.readLine().startsWith("ok");
        }
        // The window holding the lock may not listen yet: it is starting up.
        if (elapsed.elapsed() >= timeoutMs)
            return false;
        QThread::msleep(50);
    }
}
