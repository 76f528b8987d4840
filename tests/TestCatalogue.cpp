#include "TestCatalogue.h"

#include "sqlitewrapper/RowMappers.h"

#include <QFile>

#include <stdexcept>

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
