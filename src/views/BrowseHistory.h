#pragma once

#include <QObject>

#include <vector>

class CCommands;
class CNavigationView;
class CShelfwiseDoc;
class QAction;
class QWidget;

// Back and Forward through the items selected in the tree, as a file manager goes
// through the folders it showed: the two actions (Alt+Left and Alt+Right, and the
// mouse's back and forward buttons anywhere in the window), greyed when there is
// nowhere to go. A selection made after going back drops what lay ahead. An item that
// no longer exists (deleted, or undone) is passed over; a unit moved to another storage
// is found where it is now. Another catalogue starts a new history.
class CBrowseHistory final : public QObject
{
    Q_OBJECT

public:
    // Adds the actions to commands; window is the main window, whose mouse buttons are
    // watched.
    CBrowseHistory(CShelfwiseDoc& doc, CCommands& commands, CNavigationView& tree, QWidget& window);

    void Back();
    void Forward();
    void Clear();
    bool CanGoBack() const { return m_current > 0; }
    bool CanGoForward() const { return m_current + 1 < static_cast<int>(m_entries.size()); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Entry
    {
        int Id = -1;
        bool IsStorage = false;
        bool operator==(const Entry& other) const
        {
            return Id == other.Id && IsStorage == other.IsStorage;
        }
    };

    // Records the document's selection when it is a new one.
    void OnSelection();
    // Goes step entries back (-1) or forward (1), passing over what is gone.
    void Go(int step);
    // The tree path of entry as the catalogue has it now; empty when it is gone.
    std::vector<int> PathOf(const Entry& entry);
    void UpdateActions();

    CShelfwiseDoc& m_doc;
    CNavigationView& m_tree;
    QWidget& m_window;
    QAction* m_back;
    QAction* m_forward;
    std::vector<Entry> m_entries;
    int m_current = -1;
};
