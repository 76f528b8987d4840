#pragma once

#include <QString>
#include <QTemporaryDir>

// A catalogue made by the real shelfwise-cli from real files: in storage "Shelf" the
// folder "tree" (pictures, music, text, files without an extension, files of many
// extensions in many folders, and a zip archive whose entries are catalogued), and in storage
// "Discs" a disc image made with xorriso, when xorriso is installed.
class StatisticsCatalogue
{
public:
    // Builds it; Ready() is false (with a reason in Error()) when a step failed.
    StatisticsCatalogue();

    bool Ready() const { return m_error.isEmpty(); }
    const QString& Error() const { return m_error; }
    bool HasDisc() const { return m_hasDisc; }
    const QString& Path() const { return m_catalogue; }
    QString SettingsFolder() const { return m_settings.path(); }

private:
    void Write(const QString& name, qint64 size, int year);
    bool Run(const QStringList& arguments);

    QTemporaryDir m_dir;
    QTemporaryDir m_settings;
    QString m_catalogue;
    QString m_error;
    bool m_hasDisc = false;
};
