#pragma once

#include <QKeySequence>
#include <QString>

#include <map>

class QAction;
class QObject;

// The actions of the window, created once and keyed by their command ids, so that the
// menus, the toolbar and both panes' context menus share one action per command.
class CCommands final
{
public:
    QAction* Add(int id, const QString& text, QObject* parent,
                 const QKeySequence& shortcut = QKeySequence());
    // The action of a command id; null when there is none.
    QAction* Get(int id) const;

private:
    std::map<int, QAction*> m_actions;
};
