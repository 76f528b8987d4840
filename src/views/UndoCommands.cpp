#include "views/UndoCommands.h"

#include "document/ShelfwiseDoc.h"
#include "views/CommandIds.h"
#include "views/Commands.h"
#include "views/DetailsView.h"
#include "views/NavigationView.h"
#include "views/WindowStatus.h"

#include <QAction>
#include <QKeySequence>

namespace {

// A description in a menu text: an ampersand in a name is shown, not a mnemonic.
QString MenuText(const QString& verb, const QString& description)
{
    if (description.isEmpty())
        return verb;
    QString escaped = description;
    escaped.replace(QLatin1Char('&'), QStringLiteral("&&"));
    return verb + QLatin1Char(' ') + escaped;
}

} // namespace

CUndoCommands::CUndoCommands(CShelfwiseDoc& doc, CCommands& commands, CNavigationView& tree,
                             CDetailsView& list, CWindowStatus& status, QObject* parent)
    : QObject(parent), m_doc(doc), m_tree(tree), m_list(list), m_status(status),
      m_undo(commands.Add(CommandIds::EditUndo, tr("Undo"), parent,
                          QKeySequence(Qt::CTRL | Qt::Key_Z))),
      m_redo(commands.Add(CommandIds::EditRedo, tr("Redo"), parent,
                          QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z)))
{
    m_redo->setShortcuts(
        {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), QKeySequence(Qt::CTRL | Qt::Key_Y)});
    connect(m_undo, &QAction::triggered, this, &CUndoCommands::Undo);
    connect(m_redo, &QAction::triggered, this, &CUndoCommands::Redo);
    connect(&m_doc, &CShelfwiseDoc::historyChanged, this, &CUndoCommands::Update);
    Update();
}

void CUndoCommands::Update()
{
    const CEditHistory& history = m_doc.History();
    m_undo->setText(
        MenuText(tr("Undo"), history.CanUndo() ? history.UndoDescription() : QString()));
    m_redo->setText(
        MenuText(tr("Redo"), history.CanRedo() ? history.RedoDescription() : QString()));
    m_undo->setEnabled(history.CanUndo());
    m_redo->setEnabled(history.CanRedo());
}

void CUndoCommands::Undo()
{
    Apply(false);
}

void CUndoCommands::Redo()
{
    Apply(true);
}

void CUndoCommands::Apply(bool redo)
{
    const CEditHistory& history = m_doc.History();
    const QString description = redo ? history.RedoDescription() : history.UndoDescription();
    // Taken before the step: a step may remove what is selected, and the tree is then
    // read again from the top.
    const CNavigationView::State state = m_tree.SaveState();
    EditPlace shown;
    if (!(redo ? m_doc.Redo(&shown) : m_doc.Undo(&shown)))
        return;
    // An item shown in the list has what holds it expanded, so that a restored disc or
    // folder shows in the tree too.
    m_tree.RestoreState(state, shown.TreePath, shown.ListUnitId > 0);
    if (shown.ListUnitId > 0)
        m_list.SelectRowByUnitId(shown.ListUnitId);
    m_status.ShowMessage(redo ? tr("Redone: %1").arg(description)
                              : tr("Undone: %1").arg(description));
}
