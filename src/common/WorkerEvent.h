#pragma once

#include <QEvent>
#include <QtGlobal>

// What a worker thread posts to the object that started it (a dialog, or the command
// line's driver). Posted events keep their order.
class WorkerEvent final : public QEvent
{
public:
    // The codes the workers post.
    static constexpr int Finished = 1025; // wParam 0 success, 1 failure, 2 cancelled
    static constexpr int Progress = 1026; // wParam: percentage 0 to 100
    static constexpr int Walked = 1027;   // the size-counting scan has walked the tree

    // Outcomes carried by Finished.
    static constexpr qintptr Succeeded = 0;
    static constexpr qintptr Failed = 1;
    static constexpr qintptr Cancelled = 2;

    WorkerEvent(int code, qintptr wParam)
        : QEvent(static_cast<QEvent::Type>(code)), m_wParam(wParam)
    {
    }

    int Code() const { return static_cast<int>(type()); }
    qintptr WParam() const { return m_wParam; }

    static bool Is(const QEvent* event, int code)
    {
        return static_cast<int>(event->type()) == code;
    }

private:
    qintptr m_wParam;
};
