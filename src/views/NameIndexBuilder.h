#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

class CShelfwiseDoc;
class QProgressDialog;
class QWidget;

/// Builds the name index of a catalogue whose names are not all indexed yet (one made
/// before the index, upgraded), a few thousand names at a time between the window's
/// other work, with a progress window and Cancel. Each step is one short transaction
/// on this thread; no step runs while a modal dialog is open (an addition's or a
/// report's workers may be using the catalogue then) or while edits are being recorded
/// as one Undo step. Finding works meanwhile: names not indexed yet are read one by one.
/// Edits that leave names waiting (an addition, an update, an undone delete) start it
/// again. Cancelled, the build starts again when another catalogue is loaded.
class CNameIndexBuilder final : public QObject
{
    Q_OBJECT

public:
    CNameIndexBuilder(CShelfwiseDoc& doc, QWidget& window);

    /// Starts building when the open catalogue has an index that is not complete.
    void Start();
    void Cancel();
    bool IsRunning() const { return m_timer.isActive(); }
    /// The names indexed per step now; it grows or shrinks to keep a step short.
    int StepSize() const { return m_stepSize; }
    QProgressDialog* Progress() const { return m_progress; }

signals:
    void finished();

private:
    void Step();
    void Stop();

    CShelfwiseDoc& m_doc;
    QWidget& m_window;
    QTimer m_timer;
    QProgressDialog* m_progress = nullptr;
    QString m_cancelledPath; // the catalogue whose build the user cancelled
    qint64 m_total = 0;
    int m_stepSize;
};
