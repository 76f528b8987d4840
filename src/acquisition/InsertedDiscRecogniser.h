#pragma once

#include "volumes/VolumeInfo.h"

#include <QObject>
#include <QString>

#include <deque>
#include <memory>
#include <vector>

class CSqliteWrapper;
class DriveSystem;
class VolumeInfoWorker;

/// A volume that appeared, and the catalogued discs it matches by the duplicate rules of
/// the options (serial number, size, label), each with the storage it is kept in.
struct InsertedDisc
{
    struct Match
    {
        int StorageId = 0;
        int UnitId = 0;
        QString StorageName;
        QString DiscName;
    };

    QString RootPath;
    VolumeInfo Volume;
    std::vector<Match> Matches;

    /// The volume's label; an unlabelled one goes by its mount point's folder name.
    QString Name() const;
};

/// Recognises volumes that appear (from CMountWatcher, or from any other source): reads
/// each one's label, serial number and length on a VolumeInfoWorker, one volume at a time
/// in the order they came, and reports volumeRead for each readable one. LookUp then
/// finds it in the catalogue; it runs on the thread that owns the catalogue's connection,
/// so the caller decides when the catalogue may be read.
class CInsertedDiscRecogniser final : public QObject
{
    Q_OBJECT

public:
    /// db: the catalogue's connection, which LookUp reads.
    explicit CInsertedDiscRecogniser(CSqliteWrapper& db, QObject* parent = nullptr);
    /// Waits for a volume still being read.
    ~CInsertedDiscRecogniser() override;
    Q_DISABLE_COPY_MOVE(CInsertedDiscRecogniser)

    /// The drive system the volumes are read through; must be set before a volume comes.
    void SetDriveSystem(std::shared_ptr<DriveSystem> drives);

    /// Queues the volume mounted at rootPath to be read (once, however often it comes).
    void VolumeAppeared(const QString& rootPath);
    /// Forgets a queued volume; one being read is dropped when its read ends.
    void VolumeRemoved(const QString& rootPath);
    /// Forgets every queued volume (the one being read included).
    void Clear();

    /// The catalogued discs that match the volume, by the duplicate options. Reads the
    /// catalogue; raises CSqliteWrapperError.
    InsertedDisc LookUp(const QString& rootPath, const VolumeInfo& volume) const;

signals:
    /// A volume was read. An unreadable one (no label, serial or length: nothing to
    /// compare) is not reported.
    void volumeRead(const QString& rootPath, const VolumeInfo& volume);

protected:
    void customEvent(QEvent* event) override;

private:
    void StartNext();

    CSqliteWrapper& m_db;
    std::shared_ptr<DriveSystem> m_drives;
    std::deque<QString> m_pending;
    std::unique_ptr<VolumeInfoWorker> m_worker;
    QString m_reading;
    bool m_dropReading = false;
};
