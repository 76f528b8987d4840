#pragma once

#include "acquisition/ChangeList.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <memory>
#include <optional>

class CShelfwiseDoc;
class DriveSystem;
class QEvent;
class QProgressDialog;
class QWidget;

/// "Update...": brings a disc, folder or file lying directly in a storage in line with
/// its source. The source is the one given, else the one recorded when the unit was
/// added or last updated; when there is none, or it is gone, the user chooses one (a
/// folder or a disc image for a disc or folder, a file for a file). A disc at the source
/// that is not the disc catalogued is compared only when the user says so. The
/// comparison (CRescan) runs behind a busy dialog whose Cancel stops it; then either a
/// "No changes" message or the change report, whose Apply writes everything as one step
/// of Undo.
class CUpdateFlow final : public QObject
{
    Q_OBJECT

public:
    /// Runs the whole update of unitId; sourcePath, when given, is read instead of the
    /// recorded source. drives reads a disc's volume (null: the machine's). True when
    /// changes were applied.
    static bool Run(QWidget* parent, CShelfwiseDoc& doc, int unitId,
                    const QString& sourcePath = QString(),
                    std::shared_ptr<DriveSystem> drives = nullptr);

protected:
    void customEvent(QEvent* event) override;

private:
    CUpdateFlow(QWidget* parent, CShelfwiseDoc& doc, int unitId,
                std::shared_ptr<DriveSystem> drives);
    bool Execute(QString source);
    // The recorded source when it is still there, else one the user chooses (saying
    // why); empty when the user gave none.
    QString SourceToRead();
    QString AskForSource(const QString& reason);
    // For a disc: false when the volume at source is another disc and the user does not
    // want it compared.
    bool SameDiscOrAccepted(const QString& source);
    // The rescan behind the busy dialog; nothing when it was cancelled or failed.
    std::optional<CChangeList> Compare(const QString& source);

    QWidget* m_parent;
    CShelfwiseDoc& m_doc;
    const int m_unitId;
    std::shared_ptr<DriveSystem> m_drives;
    bool m_isDisc = false;
    bool m_isFile = false;
    QString m_name;
    bool m_finished = false;
    QPointer<QProgressDialog> m_progress;
};
