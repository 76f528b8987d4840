#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

class CCommands;
class QMenu;

// File > Recent catalogues: the four catalogues last opened or saved, newest first,
// kept in the desktop's settings store (WindowState::Store) so that they outlive the
// run. Its actions are the commands FileRecent1 to FileRecent1 + 3; choosing one asks
// the window to open that catalogue.
class CRecentFiles final : public QObject
{
    Q_OBJECT

public:
    CRecentFiles(CCommands& commands, QObject* parent);

    // Fills menu with the entries; it is greyed while the list is empty.
    void FillMenu(QMenu& menu);
    QStringList Files() const;
    // Puts path first, once.
    void Add(const QString& path);
    void Remove(const QString& path);

signals:
    void openRequested(const QString& path);

private:
    void Store(QStringList files);
    void UpdateMenu();

    CCommands& m_commands;
    QMenu* m_menu = nullptr;
};
