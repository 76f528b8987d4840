#include "CatalogueGenerator.h"

#include "BenchSupport.h"

#include <QDateTime>
#include <QFile>

#include <sqlite3.h>

#include <cstdio>
#include <utility>

namespace {

constexpr int kDefaultCategory = 1;
constexpr int kPictureCategory = 4;

} // namespace

CCatalogueGenerator::CCatalogueGenerator(Shape shape) : m_shape(std::move(shape))
{
    // What a folder holds whose children are at level l: files and folders below it.
    const size_t levels = m_shape.Folders.size();
    m_filesBelow.assign(levels + 1, m_shape.Files);
    m_foldersBelow.assign(levels + 1, 0);
    for (size_t l = levels; l-- > 0;) {
        m_filesBelow[l] = m_shape.Folders[l] * m_filesBelow[l + 1];
        m_foldersBelow[l] = m_shape.Folders[l] * (1 + m_foldersBelow[l + 1]);
    }
}

CCatalogueGenerator::~CCatalogueGenerator()
{
    Finalize();
    sqlite3_close(m_db);
}

qint64 CCatalogueGenerator::UnitsPerDisc() const
{
    return 1 + m_foldersBelow[0] + m_filesBelow[0];
}

bool CCatalogueGenerator::Write(const QString& path)
{
    m_id = 0;
    m_pictureId = 0;
    m_fileNumber = 0;
    m_failed = false;
    if (sqlite3_open(QFile::encodeName(path).constData(), &m_db) != SQLITE_OK) {
        std::fprintf(stderr, "cannot open %s\n", qPrintable(path));
        return false;
    }
    bool ok = BenchSupport::Exec(m_db, "PRAGMA synchronous = OFF") &&
              BenchSupport::Exec(m_db, "PRAGMA journal_mode = OFF") &&
              BenchSupport::Exec(m_db, "BEGIN TRANSACTION") && Prepare();
    Totals storage;
    int discsInStorage = 0;
    for (qint64 d = 0; ok && !m_failed && d < m_shape.Discs; ++d) {
        const int storageId = static_cast<int>(d / m_shape.DiscsPerStorage) + 1;
        if (d % m_shape.DiscsPerStorage == 0) {
            const std::string name = "Shelf " + std::to_string(storageId);
            sqlite3_bind_int(m_storage, 1, storageId);
            sqlite3_bind_text(m_storage, 2, name.c_str(), -1, SQLITE_TRANSIENT);
            if (m_shape.StorageNotes.empty())
                sqlite3_bind_null(m_storage, 3);
            else
                sqlite3_bind_text(m_storage, 3, m_shape.StorageNotes.c_str(), -1, SQLITE_STATIC);
            Step(m_storage);
            storage = Totals();
            discsInStorage = 0;
        }
        const Totals disc = WriteDisc(d, storageId);
        storage.Size += disc.Size;
        storage.Files += disc.Files;
        storage.Folders += disc.Folders;
        // As the import does, an empty disc is not counted.
        if (disc.Size > 0 || disc.Files > 0 || disc.Folders > 0)
            ++discsInStorage;
        if ((d + 1) % m_shape.DiscsPerStorage == 0 || d + 1 == m_shape.Discs) {
            sqlite3_bind_int64(m_counters, 1, storage.Files);
            sqlite3_bind_int64(m_counters, 2, storage.Folders);
            sqlite3_bind_int(m_counters, 3, discsInStorage);
            sqlite3_bind_int64(m_counters, 4, storage.Size);
            sqlite3_bind_int(m_counters, 5, storageId);
            Step(m_counters);
        }
    }
    Finalize();
    ok = ok && !m_failed && BenchSupport::Exec(m_db, "COMMIT TRANSACTION");
    sqlite3_close(m_db);
    m_db = nullptr;
    return ok;
}

bool CCatalogueGenerator::Prepare()
{
    const std::pair<sqlite3_stmt**, const char*> statements[] = {
        {&m_storage, "INSERT INTO Storages (StorageID, StorageName, StorageNotes) "
                     "VALUES (?, ?, ?)"},
        {&m_counters, "UPDATE Storages SET FilesNumber = ?, FoldersNumber = ?, "
                      "DiscsNumber = ?, StorageSize = ? WHERE StorageID = ?"},
        {&m_discInfo, "INSERT INTO DiscInfo (DiscInfoID, Label, SerialNumber, Size) "
                      "VALUES (?, 'DISC', 1234, 4700000000)"},
        {&m_picture, "INSERT INTO PictureInfo (PictureInfoID, Width, Height, ColorDepth) "
                     "VALUES (?, 4000, 3000, 24)"},
        {&m_unit, "INSERT INTO Units (UnitID, UnitName, UnitType, StorageID, ParentUnitID, "
                  "UnitSize, SubfilesNumber, SubfoldersNumber, DateAdded, DateCreated, "
                  "DateModified, CategoryID, DiscInfoID, UnitInfoID) "
                  "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"},
    };
    for (const auto& [statement, sql] : statements) {
        if (sqlite3_prepare_v2(m_db, sql, -1, statement, nullptr) != SQLITE_OK) {
            std::fprintf(stderr, "SQL failed: %s\n", sqlite3_errmsg(m_db));
            return false;
        }
    }
    return true;
}

CCatalogueGenerator::Totals CCatalogueGenerator::WriteDisc(qint64 disc, int storage)
{
    const std::string added = m_shape.DateAdded
                                  ? m_shape.DateAdded(disc)
                                  : QDateTime::currentDateTime()
                                        .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))
                                        .toStdString();
    m_files.clear();
    m_files.reserve(static_cast<size_t>(m_filesBelow[0]));
    for (qint64 i = 0; i < m_filesBelow[0]; ++i)
        m_files.push_back(m_shape.MakeFile(i, m_fileNumber++));
    qint64 discInfo = 0;
    if (m_shape.DiscInfo) {
        discInfo = disc + 1;
        sqlite3_bind_int64(m_discInfo, 1, discInfo);
        Step(m_discInfo);
    }
    const Totals totals = Subtree(0, 0);
    const qint64 id = AddUnit(m_shape.DiscName(disc), 'C', storage, 0, totals, added,
                              kDefaultCategory, 0, discInfo);
    size_t next = 0;
    WriteChildren(0, id, storage, added, next);
    return totals;
}

CCatalogueGenerator::Totals CCatalogueGenerator::Subtree(size_t level, size_t first) const
{
    Totals totals;
    totals.Files = m_filesBelow[level];
    totals.Folders = m_foldersBelow[level];
    for (size_t i = first; i < first + static_cast<size_t>(totals.Files); ++i)
        totals.Size += m_files[i].Size;
    return totals;
}

void CCatalogueGenerator::WriteChildren(size_t level, qint64 parent, int storage,
                                        const std::string& added, size_t& next)
{
    if (level == m_shape.Folders.size()) {
        for (int i = 0; i < m_shape.Files; ++i, ++next) {
            const File& file = m_files[next];
            qint64 info = 0;
            if (file.Picture) {
                sqlite3_bind_int64(m_picture, 1, ++m_pictureId);
                Step(m_picture);
                info = m_pictureId;
            }
            Totals size;
            size.Size = file.Size;
            AddUnit(file.Name, 'F', storage, parent, size, added,
                    file.Picture ? kPictureCategory : kDefaultCategory, info, 0);
        }
        return;
    }
    for (int f = 0; f < m_shape.Folders[level]; ++f) {
        const qint64 id = AddUnit(m_shape.FolderName(static_cast<int>(level), f), 'D', storage,
                                  parent, Subtree(level + 1, next), added, kDefaultCategory, 0, 0);
        WriteChildren(level + 1, id, storage, added, next);
    }
}

qint64 CCatalogueGenerator::AddUnit(const std::string& name, char type, int storage, qint64 parent,
                                    const Totals& totals, const std::string& added, int category,
                                    qint64 info, qint64 discInfo)
{
    const char typeText[2] = {type, '\0'};
    sqlite3_bind_int64(m_unit, 1, ++m_id);
    sqlite3_bind_text(m_unit, 2, name.c_str(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_text(m_unit, 3, typeText, -1, SQLITE_TRANSIENT);
    sqlite3_bind_int(m_unit, 4, storage);
    for (int c = 5; c <= 14; ++c)
        sqlite3_bind_null(m_unit, c);
    if (parent > 0)
        sqlite3_bind_int64(m_unit, 5, parent);
    sqlite3_bind_int64(m_unit, 6, totals.Size);
    sqlite3_bind_int64(m_unit, 7, totals.Files);
    sqlite3_bind_int64(m_unit, 8, totals.Folders);
    sqlite3_bind_text(m_unit, 9, added.c_str(), -1, SQLITE_TRANSIENT);
    if (type == 'F' && m_shape.FileDates) {
        sqlite3_bind_text(m_unit, 10, "2019-06-01 10:00:00", -1, SQLITE_STATIC);
        sqlite3_bind_text(m_unit, 11, "2019-06-02 11:30:00", -1, SQLITE_STATIC);
    }
    sqlite3_bind_int(m_unit, 12, category);
    if (discInfo > 0)
        sqlite3_bind_int64(m_unit, 13, discInfo);
    if (info > 0)
        sqlite3_bind_int64(m_unit, 14, info);
    Step(m_unit);
    return m_id;
}

void CCatalogueGenerator::Step(sqlite3_stmt* statement)
{
    if (sqlite3_step(statement) != SQLITE_DONE && !m_failed) {
        std::fprintf(stderr, "SQL failed: %s\n", sqlite3_errmsg(m_db));
        m_failed = true;
    }
    sqlite3_reset(statement);
}

void CCatalogueGenerator::Finalize()
{
    for (sqlite3_stmt** statement : {&m_storage, &m_counters, &m_discInfo, &m_picture, &m_unit}) {
        sqlite3_finalize(*statement);
        *statement = nullptr;
    }
}
