#pragma once

#include <QString>
#include <QtGlobal>

#include <functional>
#include <string>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

// Writes a catalogue of a regular shape straight into a copy of the template with
// SQLite, as fast as SQLite allows: storages of discs, every disc the same tree of
// folders with the same number of files in each folder of the last level. Counters
// (folder and disc subtotals, storage totals) come out as an import leaves them. All
// rows go in one transaction through prepared statements.
//
// What the benchmarks differ in (names, sizes, categories, picture rows, the date
// added) is given by the callbacks of a Shape.
class CCatalogueGenerator final
{
public:
    // One file as the shape wants it.
    struct File
    {
        std::string Name;
        qint64 Size = 0;
        // A picture gets category 4 and a PictureInfo row of its own.
        bool Picture = false;
    };

    struct Shape
    {
        qint64 Discs = 1;
        qint64 DiscsPerStorage = 1;
        // Folders at each level below a disc: {50} is 50 folders on each disc, {40, 10}
        // is 40 folders of 10 folders each.
        std::vector<int> Folders;
        // Files in each folder of the last level (on the disc itself when Folders is
        // empty).
        int Files = 0;
        // Files carry a creation and a modification time.
        bool FileDates = false;
        // Every disc has a DiscInfo row.
        bool DiscInfo = false;
        // Notes of every storage; empty leaves them NULL.
        std::string StorageNotes;
        // disc counts from 0 over the whole catalogue.
        std::function<std::string(qint64 disc)> DiscName;
        std::function<std::string(int level, int index)> FolderName;
        // inDisc counts from 0 on each disc, overall over the whole catalogue. Called in
        // the order the files are written.
        std::function<File(qint64 inDisc, qint64 overall)> MakeFile;
        // The DateAdded of a disc's units; unset leaves the column's default.
        std::function<std::string(qint64 disc)> DateAdded;
    };

    explicit CCatalogueGenerator(Shape shape);
    ~CCatalogueGenerator();
    Q_DISABLE_COPY_MOVE(CCatalogueGenerator)

    // The units of one disc: the disc, its folders and its files.
    qint64 UnitsPerDisc() const;

    // Fills the catalogue at path, which holds the schema and no rows. False (and the
    // error on stderr) when a statement failed.
    bool Write(const QString& path);

    // The units written by the last Write().
    qint64 Units() const { return m_id; }

private:
    struct Totals
    {
        qint64 Size = 0;
        qint64 Files = 0;
        qint64 Folders = 0;
    };

    bool Prepare();
    Totals WriteDisc(qint64 disc, int storage);
    // The totals of a folder whose children are at level, its files starting at first.
    Totals Subtree(size_t level, size_t first) const;
    // The children of parent: folders of level, or below the last level its files, taken
    // from m_files at next.
    void WriteChildren(size_t level, qint64 parent, int storage, const std::string& added,
                       size_t& next);
    qint64 AddUnit(const std::string& name, char type, int storage, qint64 parent,
                   const Totals& totals, const std::string& added, int category, qint64 info,
                   qint64 discInfo);
    // Runs a prepared statement; a failure is reported once and ends the Write().
    void Step(sqlite3_stmt* statement);
    void Finalize();

    Shape m_shape;
    sqlite3* m_db = nullptr;
    sqlite3_stmt* m_storage = nullptr;
    sqlite3_stmt* m_counters = nullptr;
    sqlite3_stmt* m_discInfo = nullptr;
    sqlite3_stmt* m_picture = nullptr;
    sqlite3_stmt* m_unit = nullptr;
    bool m_failed = false;
    qint64 m_id = 0;
    qint64 m_pictureId = 0;
    qint64 m_fileNumber = 0;
    // The files of the disc being written, made before its rows so that every folder's
    // totals are known when the folder is written.
    std::vector<File> m_files;
    // Indexed by level: the files and folders in the subtree of a folder whose children
    // are at that level (level 0: the disc).
    std::vector<qint64> m_filesBelow;
    std::vector<qint64> m_foldersBelow;
};
