#pragma once

#include <QEventLoop>
#include <QObject>
#include <QProgressDialog>
#include <QString>

#include <functional>

class QWidget;

// The window's wait for a worker: a window-modal progress window with Cancel, shown at
// once, and an event loop that ends with the worker's Finished event. The worker is
// given this object as the receiver of its posted events (Progress moves the bar).
//
//     CWorkerProgress progress(tr("Exporting..."), 100, owner);
//     job.Start(..., &progress);
//     if (!progress.Wait([&job] { job.Cancel(); })) ...   // cancelled
//
// Built into the window's library only: it is the one part of common with widgets.
class CWorkerProgress final : public QObject
{
    Q_OBJECT

public:
    // maximum 0: a busy indicator, for work that cannot tell how far it is.
    CWorkerProgress(const QString& label, int maximum, QWidget* owner);

    QProgressDialog& Window() { return m_window; }

    // Shows the window and waits for the Finished event (which may be queued already:
    // the wait then ends at its first turn). cancel runs when the user presses Cancel;
    // false when the user did.
    bool Wait(const std::function<void()>& cancel);

    // A worker's failure as the window tells it: its own message, or the general one.
    static void ShowFailure(const QString& error);

signals:
    void progressed(int percent);

protected:
    void customEvent(QEvent* event) override;

private:
    QProgressDialog m_window;
    QEventLoop m_loop;
    bool m_waiting = false;
    bool m_finished = false;
};
