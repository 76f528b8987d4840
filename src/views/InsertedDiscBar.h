#pragma once

#include "acquisition/InsertedDiscRecogniser.h"

#include <QFrame>
#include <QString>
#include <QTimer>

#include <memory>
#include <utility>
#include <vector>

class CMountWatcher;
class CShelfwiseDoc;
class DriveSystem;
class QComboBox;
class QLabel;
class QPushButton;
class QToolButton;

/// The bar above the list that tells, while the window runs, whether a disc (or other
/// volume) just mounted is catalogued: `"LABEL" is catalogued as "Disc" in "Storage".`
/// with Show and Update..., or `"LABEL" is not in the catalogue.` with Add.... It owns
/// the mount watcher and the recogniser that feed it, runs them while the option
/// RecogniseInsertedDiscs is on, and hides on its close button, when its volume goes
/// and when another catalogue is loaded.
///
/// The catalogue is looked up on this thread, and never while a modal dialog is open:
/// an addition's or a report's workers may be using the connection then. A volume read
/// meanwhile waits until the dialog has closed.
class CInsertedDiscBar final : public QFrame
{
    Q_OBJECT

public:
    explicit CInsertedDiscBar(CShelfwiseDoc& doc, QWidget* parent = nullptr);
    ~CInsertedDiscBar() override;

    /// The drive system the volumes are read through, whose optical drives count.
    void SetDriveSystem(std::shared_ptr<DriveSystem> drives);
    /// Starts or stops watching as RecogniseInsertedDiscs says; off also hides the bar.
    void ApplySettings();

    CMountWatcher& Watcher() { return *m_watcher; }
    CInsertedDiscRecogniser& Recogniser() { return *m_recogniser; }
    /// The volume the bar tells of; its root is empty while the bar is hidden.
    const InsertedDisc& Disc() const { return m_disc; }
    QString Text() const;

    /// Tells of a volume: where it is catalogued, or that it is not.
    void ShowDisc(const InsertedDisc& disc);
    /// Hides the bar and forgets its volume.
    void Dismiss();

signals:
    /// Show: the tree and list go to a catalogued disc ([StorageID, UnitID], no row).
    void browseRequested(const std::vector<int>& treePath, int listUnitId);
    /// Update...: the catalogued disc is to be brought up to date from the volume.
    void updateRequested(int unitId, const QString& sourcePath);
    /// Add...: the volume is to be added as a disc from its drive path.
    void addRequested(const QString& drivePath);

private:
    void OnVolumeRead(const QString& rootPath, const VolumeInfo& volume);
    void OnVolumeRemoved(const QString& rootPath);
    // Looks the held volumes up once no modal dialog is open.
    void LookUpHeld();
    void LookUpAndShow(const QString& rootPath, const VolumeInfo& volume);
    // The match Show and Update... act on: the one chosen when there are several.
    const InsertedDisc::Match* ChosenMatch() const;
    void OnAdd();

    CShelfwiseDoc& m_doc;
    CMountWatcher* m_watcher;
    CInsertedDiscRecogniser* m_recogniser;
    InsertedDisc m_disc;
    std::vector<std::pair<QString, VolumeInfo>> m_held;
    QTimer m_heldTimer;
    QLabel* m_text;
    QComboBox* m_choice;
    QPushButton* m_show;
    QPushButton* m_update;
    QPushButton* m_add;
    QToolButton* m_close;
};
