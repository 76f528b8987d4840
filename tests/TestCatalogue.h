#pragma once

#include "sqlitewrapper/SqliteWrapper.h"

#include <QString>
#include <QTemporaryDir>

// A fresh catalogue made from the real template in a temporary folder, opened.
class TestCatalogue
{
public:
    TestCatalogue();

    const QString& Path() const { return m_path; }
    QString FolderPath() const { return m_dir.path(); }
    CSqliteWrapper& Db() { return m_db; }

    // A single integer from the catalogue, e.g. a counter, for assertions.
    qint64 Number(const QString& sql);

    // Adds a unit the way the import does and returns its id.
    int AddDisc(int storageId, const QString& name);
    int AddFolder(int storageId, int parentId, const QString& name);
    int AddFile(int storageId, int parentId, const QString& name, qint64 size, int categoryId = 1,
                const CNullable<int>& unitInfoId = {});

private:
    QTemporaryDir m_dir;
    QString m_path;
    CSqliteWrapper m_db;
};

// The path of the built template catalogue.
QString TemplateCataloguePath();

// Copies the built sample catalogue to path, replacing a file there, and makes the copy
// writable (an installed data file may be read-only); returns path. Throws when it cannot.
QString CopySampleCatalogue(const QString& path);

// The first column of the first row of sql, read from the catalogue file at path (empty
// when there is no row): for checking what a run of the program left in a file.
QString QueryText(const QString& path, const QString& sql);

// Makes the catalogue open on db one as version 1.0, 1.1 or 1.2 left it: the tables,
// indexes, views and triggers later versions added are dropped (their rows with them)
// and the version number set, for testing the upgrade of an older catalogue.
void RollBackSchemaTo(CSqliteWrapper& db, const QString& version);
