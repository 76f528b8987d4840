#pragma once

#include <QObject>
#include <QString>

class CCommands;
class CDetailsView;
class CNavigationView;
class CShelfwiseDoc;
class CWindowStatus;
class QAction;

// Edit > Undo and Redo in the window: the two actions, whose texts say what they would
// undo or redo (greyed "Undo" and "Redo" when nothing), and what follows a step taken
// back or done again: both panes read afresh, the tree as it was expanded, and the
// step's storage or unit shown (selected in the tree, or in the list with what holds
// it selected in the tree), and a line in the status bar.
class CUndoCommands final : public QObject
{
    Q_OBJECT

public:
    // Adds the actions to commands, with Ctrl+Z for Undo and Ctrl+Shift+Z and Ctrl+Y
    // for Redo.
    CUndoCommands(CShelfwiseDoc& doc, CCommands& commands, CNavigationView& tree,
                  CDetailsView& list, CWindowStatus& status, QObject* parent);

    void Undo();
    void Redo();
    // The actions' texts and states from the document's history.
    void Update();

private:
    void Apply(bool redo);

    CShelfwiseDoc& m_doc;
    CNavigationView& m_tree;
    CDetailsView& m_list;
    CWindowStatus& m_status;
    QAction* m_undo;
    QAction* m_redo;
};
