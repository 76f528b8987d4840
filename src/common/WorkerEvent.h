#pragma once

#include "common/WorkOutcome.h"

#include <QEvent>
#include <QtGlobal>

// What a worker thread posts to the object that started it (a dialog, or the command
// line's driver). Posted events keep their order.
class WorkerEvent final : public QEvent
{
public:
    // The codes the workers post.
    static constexpr int Finished = 1025; // carries the WorkOutcome
    static constexpr int Progress = 1026; // wParam: percentage 0 to 100
    static constexpr int Walked = 1027;   // the size-counting scan has walked the tree

    WorkerEvent(int code, qintptr wParam)
        : QEvent(static_cast<QEvent::Type>(code)), m_wParam(wParam)
    {
    }
    // The Finished event of work that ended so.
    explicit WorkerEvent(WorkOutcome outcome) : WorkerEvent(Finished, static_cast<qintptr>(outcome))
    {
    }

    int Code() const { return static_cast<int>(type()); }
    qintptr WParam() const { return m_wParam; }
    // How the work ended; for a Finished event only.
    WorkOutcome Outcome() const { return static_cast<WorkOutcome>(m_wParam); }

    static bool Is(const QEvent* event, int code)
    {
        return static_cast<int>(event->type()) == code;
    }

private:
    qintptr m_wParam;
};
