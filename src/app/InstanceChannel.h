#pragma once

#include <QObject>
#include <QString>

#include <memory>

class QLocalServer;
class QLocalSocket;

// The line between a running window and a program started after it for the same
// settings folder (what a file manager does when a catalogue is double-clicked). The
// running one listens on a local socket named like its single-instance lock; a later
// start hands over the catalogue it was given, or nothing, and ends.
class CInstanceChannel final : public QObject
{
    Q_OBJECT

public:
    explicit CInstanceChannel(QString name, QObject* parent = nullptr);
    ~CInstanceChannel() override;
    CInstanceChannel(const CInstanceChannel&) = delete;
    CInstanceChannel& operator=(const CInstanceChannel&) = delete;

    /// The running window: listens for later starts. Whoever holds the single-instance
    /// lock owns the name, so a socket left by a killed run is removed first. False
    /// when the socket could not be made (the window then runs without it).
    bool Listen();

    /// A later start: hands path (absolute, or empty for none) to the running window.
    /// Waits up to timeoutMs for a window that is still starting; false when none
    /// took it.
    bool Send(const QString& path, int timeoutMs) const;

    const QString& Name() const { return m_name; }

signals:
    /// A later start asked to be shown path (empty: just to come to the front).
    void fileRequested(const QString& path);

private:
    void OnNewConnection();
    void OnReadyRead(QLocalSocket* socket);

    QString m_name;
    std::unique_ptr<QLocalServer> m_server;
};
