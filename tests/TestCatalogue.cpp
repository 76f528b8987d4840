#include "TestCatalogue.h"

#include "document/ProgramVersion.h"
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqlText.h"

#include <QFile>

#include <stdexcept>
#include <vector>

QString TemplateCataloguePath()
{
    return QStringLiteral(SHELFWISE_DATA_DIR "/empty.db3");
}

QString CopySampleCatalogue(const QString& path)
{
    QFile::remove(path);
    if (!QFile::copy(QStringLiteral(SHELFWISE_DATA_DIR "/test.db3"), path))
        throw std::runtime_error("cannot copy the sample catalogue");
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    return path;
}

QString QueryText(const QString& path, const QString& sql)
{
    CSqliteWrapper db;
    db.Open(path, false);
    std::vector<QString> rows;
    db.QueryRows(sql, rows, &RowMappers::Texts);
    return rows.empty() ? QString() : rows.front();
}

TestCatalogue::TestCatalogue() : m_path(m_dir.filePath(QStringLiteral("catalogue.db3")))
{
    if (!QFile::copy(TemplateCataloguePath(), m_path))
        throw std::runtime_error("cannot copy the template catalogue");
    QFile::setPermissions(m_path, QFile::ReadOwner | QFile::WriteOwner);
    m_db.Open(m_path, false);
}

qint64 TestCatalogue::Number(const QString& sql)
{
    std::vector<QString> rows;
    m_db.QueryRows(sql, rows, &RowMappers::Texts);
    return rows.empty() ? -1 : rows.front().toLongLong();
}

int TestCatalogue::AddDisc(int storageId, const QString& name)
{
    const int discInfo = m_db.AddDiscInfo(name.toUpper(), 0x1234ABCDu, 700000000);
    return m_db.AddUnit(UnitKind::Disc, name, QString(), 1, storageId, 0, {}, 0, {}, {}, discInfo,
                        true);
}

int TestCatalogue::AddFolder(int storageId, int parentId, const QString& name)
{
    return m_db.AddUnit(UnitKind::Folder, name, QString(), 1, storageId, parentId, {}, 0, {}, {}, 0,
                        false);
}

int TestCatalogue::AddFile(int storageId, int parentId, const QString& name, qint64 size,
                           int categoryId, const CNullable<int>& unitInfoId)
{
    const QDateTime when(QDate(2012, 3, 7), QTime(14, 5, 9));
    return m_db.AddUnit(UnitKind::File, name, QString(), categoryId, storageId, parentId,
                        unitInfoId, size, when, when, 0, false);
}

void RollBackSchemaTo(CSqliteWrapper& db, const QString& version)
{
    // What each version added, newest first; the name index (1.3) came back in a new
    // form with 1.4, so a catalogue is rolled back to 1.2 or older as a whole.
    struct Added
    {
        const char* version;
        std::vector<const char*> statements;
    };
    const std::vector<Added> added = {
        {"1.5", {"DROP TABLE Thumbnails", "DROP TABLE ArchiveInfo"}},
        {"1.3",
         {"DROP TRIGGER UnitNameIndexInsert", "DROP TRIGGER UnitNameIndexDelete",
          "DROP TRIGGER UnitNameIndexRename", "DROP TABLE UnitNameIndex",
          "DROP VIEW UnitNameIndexContent", "DROP TABLE UnitNameIndexPending",
          "DROP INDEX UnitsWithNotes"}},
        {"1.2", {"DROP TABLE UnitUpdates"}},
        {"1.1", {"DROP TABLE UnitSources"}},
    };
    for (const Added& step : added) {
        if (Version::ParseVersionNumber(QString::fromLatin1(step.version)) <=
            Version::ParseVersionNumber(version))
            break;
        for (const char* statement : step.statements)
            db.Execute(QString::fromLatin1(statement));
    }
    db.Execute(QStringLiteral("UPDATE DatabaseVersion SET VersionNumber = %1")
                   .arg(SqlText::QuoteSqlString(version)));
}
