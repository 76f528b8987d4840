// The version check of a catalogue opened into the working copy, and its upgrade by
// the scripts of the Updates folder.
#include "common/FileCopy.h"
#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "document/CatalogueFile.h"
#include "document/ProgramVersion.h"
#include "settings/CStdioFileEx.h"
#include "settings/Settings.h"

#include <QDir>

#include <map>

bool CCatalogueFile::CheckDatabaseVersion()
{
    return CheckCatalogueVersion(m_db, m_workingCopyPath, m_cataloguePath);
}

bool CCatalogueFile::CheckCatalogueVersion(CSqliteWrapper& db, const QString& workingPath,
                                           const QString& cataloguePath)
{
    QString versionText;
    if (!Guard([&] { versionText = db.GetDatabaseVersion(); }))
        return false;
    const quint32 catalogueVersion = Version::ParseVersionNumber(versionText);
    const quint32 programVersion = Version::ProgramVersion();
    if (catalogueVersion == programVersion)
        return true;

    UserPrompter& prompter = UserPrompter::Current();
    if (catalogueVersion < programVersion) {
        if (!prompter.AskYesNo(Strings::IDS_UPGRADE_QUESTION, UserPrompter::Icon::Question)) {
            prompter.CloseMainWindow();
            return false;
        }
        bool upgraded = false;
        Guard([&] {
            UpgradeCatalogue(db, catalogueVersion, workingPath, cataloguePath);
            upgraded = true;
        });
        return upgraded;
    }

    const QString other = prompter.AskNewerCatalogue(versionText);
    if (other.isEmpty())
        prompter.CloseMainWindow();
    else
        emit openDocumentRequested(other);
    return false;
}

void CCatalogueFile::UpgradeDatabase(quint32 catalogueVersion)
{
    UpgradeCatalogue(m_db, catalogueVersion, m_workingCopyPath, m_cataloguePath);
}

void CCatalogueFile::UpgradeCatalogue(CSqliteWrapper& db, quint32 catalogueVersion,
                                      const QString& workingPath, const QString& cataloguePath)
{
    // Scripts by the version they bring, oldest first; the first file found for a
    // version wins. Every entry takes part, whatever its extension.
    const QDir updates(SettingsFolder() + QStringLiteral("Updates"));
    std::map<quint32, QString> scripts;
    for (const QString& name : updates.entryList(QDir::Files | QDir::Hidden, QDir::Name)) {
        QString bare = name;
        bare.remove(QStringLiteral(".sql"));
        const quint32 version = Version::ParseVersionNumber(bare);
        if (version > catalogueVersion)
            scripts.emplace(version, updates.filePath(name));
    }

    std::vector<QString> statements;
    for (const auto& [version, path] : scripts) {
        CStdioFileEx file;
        if (!file.Open(path, CStdioFileEx::ModeRead))
            continue; // an unreadable script is left out
        QString text;
        QString line;
        while (file.ReadString(line))
            text += line + QStringLiteral("\r\n");
        statements.push_back(text);
    }
    if (!statements.empty()) {
        db.ExecuteInTransaction(statements);
        db.LoadCategories();
        db.LoadFileExtensions();
    }

    // The upgrade is saved at once, without asking, for a catalogue that has a file.
    if (!cataloguePath.isEmpty()) {
        FileCopy::CopyOver(workingPath, cataloguePath);
    } else {
        m_bChanged = true;
        if (Settings::Instance().AutosaveAfterUpdate)
            SaveWithName();
    }
}
