#pragma once

#include "importers/ImportSink.h"
#include "sqlitewrapper/FileInsertBatch.h"
#include "sqlitewrapper/Nullable.h"

#include <QDateTime>
#include <QHash>
#include <QString>
#include <QtGlobal>

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

class CArchiveEntryBatch;
class CSqliteWrapper;

// Thrown out of a reading when the import was cancelled; the caller rolls back.
struct ImportCancelled
{
};

// Writes what a list reader reads into one storage of the catalogue, as an addition
// writes a scanned tree: discs and folders one row at a time (their ids are the parents
// of what follows), files in multi-row inserts, categories by extension, and the
// folders', discs' and storage's counters summed once at the end (Finish). Folders a
// list leaves out are made when an item needs them.
//
// What only our own export carries comes back too: a category named in the list (when
// the catalogue has one of that name), a media file's details, when each unit was
// catalogued, and the entries of archives, written below their archive as an addition
// writes them (with an ArchiveInfo row for each archive, nested ones included; entries
// count in no folder's, disc's or storage's counters).
//
// It keeps one small record per folder (its id, parent and counters) and a map from a
// folder's path to that record for the disc being read, so memory grows with the
// number of folders, not files. The caller owns the transaction around it.
class CCatalogueImport final : public CImportSink
{
public:
    CCatalogueImport(CSqliteWrapper& db, int storageId);
    ~CCatalogueImport() override;
    CCatalogueImport(const CCatalogueImport&) = delete;
    CCatalogueImport& operator=(const CCatalogueImport&) = delete;

    // Looked at every few hundred items; set to 1, the reading ends with ImportCancelled.
    void SetCancelFlag(const std::atomic<int>* cancel) { m_cancel = cancel; }
    // Called every few thousand items (from the reading's thread).
    void SetProgress(std::function<void()> progress) { m_progress = std::move(progress); }

    void BeginDisc(const QString& label, const QDateTime& created) override;
    void Item(const ImportedItem& item) override;
    void SetDiscNotes(const QString& notes) override;
    void EndDisc() override;

    // Writes the files still gathered and every counter. Call once, after the reading.
    void Finish();

    int Discs() const { return m_discs; }
    int Folders() const { return m_folderCount; }
    qint64 Files() const { return m_fileCount; }
    // The units made directly in the storage (discs, and folders and files of their own).
    const std::vector<int>& TopUnitIds() const { return m_topUnitIds; }

    // A list's time as the wall-clock reading the catalogue stores (local time).
    static QDateTime WallClock(const QDateTime& time);

private:
    struct Folder
    {
        int unitId = 0;
        int parent = -1; // index in m_folders; -1 for a unit directly in the storage
        qint64 files = 0;
        qint64 folders = 0;
        qint64 size = 0;
    };

    // The index of the folder with path (below the current disc, or from the storage
    // when no disc is open), made with its missing ancestors when needed; -1 for the
    // storage itself.
    int FolderIndex(const QStringList& path, int length);
    int MakeFolder(const QString& name, int parent, const QString& notes, int category,
                   const QDateTime& added);
    void AddFile(const ImportedItem& item, int parent);
    void FlushFiles();
    static QString Key(const QStringList& path, int length);
    // The category the list names, when the catalogue has it; else as a scan gives it.
    int CategoryOf(const ImportedItem& item);
    // The media row for a film's, music's or picture's details; null for none.
    CNullable<int> AddMedia(int category, const ImportedMedia& media);
    // Units firstId..lastId were catalogued at added (a wall-clock time; invalid: now).
    // Runs of consecutive ids with one date are written in one statement.
    void NoteAdded(int firstId, int lastId, const QDateTime& added);
    void WriteAdded();

    void OpenArchive(int unitId, const QString& key, const QString& format);
    void AddEntry(const ImportedItem& item);
    int EntryParent(const QStringList& path, int length, int base);
    int MakeEntry(const QString& name, int parent, bool isFolder, qint64 size,
                  const QDateTime& modified, int category, const QString& format);
    // Writes the open archive's entries still gathered and its ArchiveInfo rows.
    void CloseArchive();

    CSqliteWrapper& m_db;
    int m_storageId;
    const std::atomic<int>* m_cancel = nullptr;
    std::function<void()> m_progress;
    qint64 m_items = 0;

    std::vector<Folder> m_folders;
    QHash<QString, int> m_folderIndex; // the current disc's folders by path
    int m_disc = -1;                   // index of the current disc, -1 outside any
    QString m_lastKey;                 // the last parent looked up, kept: items come in runs
    int m_lastIndex = -1;
    bool m_hasLast = false;

    CFileInsertBatch m_files;
    int m_batchedParent = 0;
    std::vector<qint64> m_topFileSizes; // of the files made directly in the storage

    int m_discs = 0;
    int m_folderCount = 0;
    qint64 m_fileCount = 0;
    std::vector<int> m_topUnitIds;

    QHash<QString, int> m_categoryByName; // 0: no category of that name
    std::vector<QDateTime> m_batchAdded;  // of the files in m_files
    int m_addedFirst = 0;
    int m_addedLast = -1;
    QDateTime m_added;

    // The archive whose entries are being read: [0] is the archive file, then its entries.
    struct Entry
    {
        int unitId = 0;
        int parent = -1;
        QString format; // an archive's; empty for other entries
        qint64 entries = 0;
        qint64 uncompressed = 0;
    };
    std::vector<Entry> m_entries;
    QHash<QString, int> m_entryIndex; // entries by path
    QString m_archiveKey;
    std::unique_ptr<CArchiveEntryBatch> m_entryBatch;
};
