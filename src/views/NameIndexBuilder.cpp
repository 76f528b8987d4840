#include "views/NameIndexBuilder.h"

#include "document/ShelfwiseDoc.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProgressDialog>

#include <algorithm>

namespace {

// A step should leave the window answering at once: indexing takes this long at most
// before the next events are handled. The step size follows what the last step took.
constexpr qint64 kStepTargetMs = 60;
constexpr int kFirstStepSize = 2000;
constexpr int kSmallestStep = 100;
constexpr int kLargestStep = 100000;
// The pause between steps, in which the window handles what came meanwhile.
constexpr int kStepGapMs = 10;

} // namespace

CNameIndexBuilder::CNameIndexBuilder(CShelfwiseDoc& doc, QWidget& window)
    : QObject(&window), m_doc(doc), m_window(window), m_stepSize(kFirstStepSize)
{
    m_timer.setParent(this);
    m_timer.setObjectName(QStringLiteral("nameIndexSteps"));
    m_timer.setInterval(kStepGapMs);
    connect(&m_timer, &QTimer::timeout, this, &CNameIndexBuilder::Step);
    // Each catalogue loaded (opened, made new, saved under another name) is looked at;
    // the one whose build was cancelled only once another has been loaded.
    connect(&m_doc, &CShelfwiseDoc::cataloguePathChanged, this, [this](const QString& path) {
        if (!m_cancelledPath.isEmpty() && path == m_cancelledPath)
            return;
        m_cancelledPath.clear();
        Start();
    });
    // An addition, an update or an undone delete leaves names waiting: they are indexed
    // once the edit has ended, unless the user stopped this catalogue's build.
    connect(&m_doc, &CShelfwiseDoc::viewsNeedUpdate, this, [this] {
        if (!IsRunning() && m_cancelledPath.isEmpty())
            QTimer::singleShot(0, this, &CNameIndexBuilder::Start);
    });
}

void CNameIndexBuilder::Start()
{
    Stop();
    bool incomplete = false;
    // Called while a catalogue loads, before the document counts it as loaded.
    if (!m_doc.Database().IsOpen() || !m_doc.Guard([&] {
            CSqliteWrapper& db = m_doc.Database();
            incomplete = db.HasNameIndex() && !db.IsNameIndexComplete();
            m_total = incomplete ? db.CountUnindexedNames() : 0;
        }))
        return;
    if (!incomplete)
        return;
    m_progress = new QProgressDialog(tr("Indexing the names of the catalogue for Find..."),
                                     tr("Cancel"), 0, 100, &m_window);
    m_progress->setWindowTitle(tr("Shelfwise"));
    m_progress->setAccessibleName(tr("Indexing names"));
    // The window stays usable: finding works while the index grows.
    m_progress->setWindowModality(Qt::NonModal);
    m_progress->setAutoClose(false);
    m_progress->setAutoReset(false);
    m_progress->setMinimumDuration(1000);
    // Shown without taking the focus from where the user types.
    m_progress->setAttribute(Qt::WA_ShowWithoutActivating);
    m_progress->setValue(0);
    connect(m_progress, &QProgressDialog::canceled, this, &CNameIndexBuilder::Cancel);
    m_timer.start();
}

void CNameIndexBuilder::Cancel()
{
    m_cancelledPath = m_doc.CataloguePath();
    Stop();
}

void CNameIndexBuilder::Stop()
{
    m_timer.stop();
    if (m_progress) {
        // Deleted later: Cancel may come from the dialog's own signal.
        m_progress->disconnect(this);
        m_progress->hide();
        m_progress->deleteLater();
        m_progress = nullptr;
    }
}

void CNameIndexBuilder::Step()
{
    if (QApplication::activeModalWidget() || m_doc.History().IsRecording())
        return;
    qint64 left = 0;
    QElapsedTimer took;
    took.start();
    if (!m_doc.Guard([&] { left = m_doc.Database().IndexNamesStep(m_stepSize); })) {
        // The document has reported the failure; the next load tries again.
        Stop();
        return;
    }
    const qint64 elapsed = took.elapsed();
    if (elapsed < kStepTargetMs / 2)
        m_stepSize = std::min(kLargestStep, m_stepSize * 2);
    else if (elapsed > kStepTargetMs * 2)
        m_stepSize = std::max(kSmallestStep, m_stepSize / 2);
    if (left > 0) {
        const qint64 done = std::max<qint64>(0, m_total - left);
        m_progress->setValue(static_cast<int>(done * 100 / std::max<qint64>(1, m_total)));
        return;
    }
    Stop();
    emit finished();
}
