#include "views/RecentFiles.h"

#include "views/CommandIds.h"
#include "views/Commands.h"
#include "views/WindowState.h"

#include <QAction>
#include <QDir>
#include <QMenu>
#include <QSettings>

namespace {

constexpr int kRecentCount = 4;
const char kRecentKey[] = "RecentFiles";

} // namespace

CRecentFiles::CRecentFiles(CCommands& commands, QObject* parent)
    : QObject(parent), m_commands(commands)
{
    for (int i = 0; i < kRecentCount; ++i) {
        QAction* action = m_commands.Add(CommandIds::FileRecent1 + i, QString(), parent);
        connect(action, &QAction::triggered, this, [this, i] {
            const QString path = Files().value(i);
            if (!path.isEmpty())
                emit openRequested(path);
        });
    }
    UpdateMenu();
}

void CRecentFiles::FillMenu(QMenu& menu)
{
    m_menu = &menu;
    for (int i = 0; i < kRecentCount; ++i)
        menu.addAction(m_commands.Get(CommandIds::FileRecent1 + i));
    UpdateMenu();
}

QStringList CRecentFiles::Files() const
{
    return WindowState::Store()->value(QLatin1String(kRecentKey)).toStringList();
}

void CRecentFiles::Add(const QString& path)
{
    QStringList files = Files();
    files.removeAll(path);
    files.prepend(path);
    Store(files);
}

void CRecentFiles::Remove(const QString& path)
{
    QStringList files = Files();
    if (files.removeAll(path) > 0)
        Store(files);
}

void CRecentFiles::Store(QStringList files)
{
    while (files.size() > kRecentCount)
        files.removeLast();
    WindowState::Store()->setValue(QLatin1String(kRecentKey), files);
    UpdateMenu();
}

void CRecentFiles::UpdateMenu()
{
    const QStringList files = Files();
    for (int i = 0; i < kRecentCount; ++i) {
        QAction* action = m_commands.Get(CommandIds::FileRecent1 + i);
        const bool used = i < files.size();
        action->setVisible(used);
        if (used) {
            action->setText(
                QStringLiteral("&%1 %2").arg(i + 1).arg(QDir::toNativeSeparators(files.at(i))));
        }
    }
    if (m_menu)
        m_menu->setEnabled(!files.isEmpty());
}
