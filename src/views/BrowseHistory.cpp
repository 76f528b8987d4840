#include "views/BrowseHistory.h"

#include "document/ShelfwiseDoc.h"
#include "views/CommandIds.h"
#include "views/Commands.h"
#include "views/NavigationView.h"
#include "views/UnitIcons.h"

#include <QAction>
#include <QApplication>
#include <QKeySequence>
#include <QMouseEvent>
#include <QWidget>

#include <algorithm>

namespace {

// Alt with the arrow, and whatever else the platform goes back or forward with, but
// Backspace: that is Move up here, where a Windows-like key scheme would make it Back.
QList<QKeySequence> Keys(QKeySequence::StandardKey standard, Qt::Key arrow)
{
    QList<QKeySequence> keys{QKeySequence(Qt::ALT | arrow)};
    for (const QKeySequence& key : QKeySequence::keyBindings(standard)) {
        const Qt::Key pressed = key.isEmpty() ? Qt::Key_unknown : key[0].key();
        if (!keys.contains(key) && pressed != Qt::Key_Backspace)
            keys << key;
    }
    return keys;
}

} // namespace

CBrowseHistory::CBrowseHistory(CShelfwiseDoc& doc, CCommands& commands, CNavigationView& tree,
                               QWidget& window)
    : QObject(&window), m_doc(doc), m_tree(tree), m_window(window),
      m_back(commands.Add(CommandIds::GoBack, tr("Back"), &window)),
      m_forward(commands.Add(CommandIds::GoForward, tr("Forward"), &window))
{
    m_back->setShortcuts(Keys(QKeySequence::Back, Qt::Key_Left));
    m_forward->setShortcuts(Keys(QKeySequence::Forward, Qt::Key_Right));
    m_back->setIcon(CUnitIcons::ThemeIcon("go-previous"));
    m_forward->setIcon(CUnitIcons::ThemeIcon("go-next"));
    connect(m_back, &QAction::triggered, this, &CBrowseHistory::Back);
    connect(m_forward, &QAction::triggered, this, &CBrowseHistory::Forward);
    connect(&m_doc, &CShelfwiseDoc::viewsNeedUpdate, this, &CBrowseHistory::OnSelection);
    // The mouse's buttons reach the widget under the pointer first, which would take
    // them as clicks: they are watched before any widget of the window sees them.
    qApp->installEventFilter(this);
    UpdateActions();
}

bool CBrowseHistory::eventFilter(QObject* watched, QEvent* event)
{
    const QEvent::Type type = event->type();
    if (type != QEvent::MouseButtonPress && type != QEvent::MouseButtonRelease &&
        type != QEvent::MouseButtonDblClick)
        return false;
    const auto* widget = qobject_cast<QWidget*>(watched);
    const Qt::MouseButton button = static_cast<QMouseEvent*>(event)->button();
    if (!widget || widget->window() != &m_window ||
        (button != Qt::BackButton && button != Qt::ForwardButton))
        return false;
    if (type == QEvent::MouseButtonPress)
        Go(button == Qt::BackButton ? -1 : 1);
    return true;
}

void CBrowseHistory::OnSelection()
{
    const Selection& selection = m_doc.Selection();
    if (selection.IsNone())
        return;
    const Entry entry{selection.Id(), selection.IsStorage()};
    if (m_current >= 0 && m_entries[static_cast<size_t>(m_current)] == entry)
        return; // a refresh, or the step Back or Forward just took
    m_entries.erase(m_entries.begin() + (m_current + 1), m_entries.end());
    m_entries.push_back(entry);
    m_current = static_cast<int>(m_entries.size()) - 1;
    UpdateActions();
}

void CBrowseHistory::Back()
{
    Go(-1);
}

void CBrowseHistory::Forward()
{
    Go(1);
}

void CBrowseHistory::Clear()
{
    m_entries.clear();
    m_current = -1;
    // What is selected now, if anything, starts the new history.
    OnSelection();
    UpdateActions();
}

void CBrowseHistory::Go(int step)
{
    for (int target = m_current + step;
         target >= 0 && target < static_cast<int>(m_entries.size());) {
        const std::vector<int> path = PathOf(m_entries[static_cast<size_t>(target)]);
        if (path.empty()) {
            // Gone from the catalogue: out of the history too.
            m_entries.erase(m_entries.begin() + target);
            if (target < m_current)
                --m_current;
            if (step < 0)
                --target;
            continue;
        }
        m_current = target;
        m_tree.SelectPath(path);
        break;
    }
    // Neighbours that became equal once the gone entries were dropped are one entry.
    for (size_t i = 1; i < m_entries.size();) {
        if (m_entries[i] == m_entries[i - 1]) {
            m_entries.erase(m_entries.begin() + static_cast<std::ptrdiff_t>(i));
            if (static_cast<int>(i) <= m_current)
                --m_current;
        } else {
            ++i;
        }
    }
    UpdateActions();
}

std::vector<int> CBrowseHistory::PathOf(const Entry& entry)
{
    if (entry.IsStorage) {
        const auto& storages = m_doc.Storages();
        const bool exists =
            std::any_of(storages.begin(), storages.end(), [&](const StorageRecord& storage) {
                return storage.StorageID == entry.Id;
            });
        return exists ? std::vector<int>{entry.Id} : std::vector<int>();
    }
    std::vector<int> path;
    m_doc.Guard([&] {
        CSqliteWrapper& db = m_doc.Database();
        const int storageId = db.GetUnitStorageId(entry.Id);
        if (storageId == 0)
            return;
        const std::vector<int> ancestors = db.GetAncestorIds(entry.Id);
        path.push_back(storageId);
        path.insert(path.end(), ancestors.rbegin(), ancestors.rend());
        path.push_back(entry.Id);
    });
    return path;
}

void CBrowseHistory::UpdateActions()
{
    m_back->setEnabled(CanGoBack());
    m_forward->setEnabled(CanGoForward());
}
