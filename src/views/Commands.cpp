#include "views/Commands.h"

#include <QAction>

QAction* CCommands::Add(int id, const QString& text, QObject* parent, const QKeySequence& shortcut)
{
    auto* action = new QAction(text, parent);
    action->setData(id);
    if (!shortcut.isEmpty())
        action->setShortcut(shortcut);
    m_actions[id] = action;
    return action;
}

QAction* CCommands::Get(int id) const
{
    const auto it = m_actions.find(id);
    return it != m_actions.end() ? it->second : nullptr;
}
