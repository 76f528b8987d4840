#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <utility>
#include <vector>

class CSqliteWrapper;

// What an edit was about, so that the window can show it again after an undo or a
// redo: a storage or a unit, and the storage or unit it lies in, for when it is gone.
// Id -1: the edit concerns no single item (the categories, say).
struct EditSubject
{
    int Id = -1;
    bool IsStorage = false;
    int ParentId = -1;
    bool ParentIsStorage = false;
};

// Where the window shows an item: the tree path (a StorageID, then the UnitIDs below
// it) to select, and the unit to select in the list (0: none). An empty path: nowhere
// in particular.
struct EditPlace
{
    std::vector<int> TreePath;
    int ListUnitId = 0;
};

// The document's Undo and Redo. A step is what one edit changed in the catalogue's
// rows: the changeset that SQLite's session extension recorded while the edit ran, and,
// when the edit changed it, the extension map before and after (FileExtensions has no
// primary key, which the extension needs; the table is small). Undo applies the inverse
// of a step's changeset, Redo the changeset itself, each in one transaction: a row that
// is not as recorded stops it, and nothing is applied.
//
// An addition (a disc, folder or file with everything in it, up to a million units) is
// not recorded while it runs, which would slow the import: its step holds the top unit
// alone. Its first undo deletes that subtree while recording, and from then on the
// recording serves (Redo applies its inverse).
//
// Steps are undone and redone in order only, so each meets the rows it was recorded
// against. A new step drops the steps that were undone; the oldest steps go when the
// recordings together hold more than kMemoryBudget bytes.
class CEditHistory final
{
public:
    static constexpr qint64 kMemoryBudget = qint64(256) << 20;

    explicit CEditHistory(CSqliteWrapper& db);
    CEditHistory(const CEditHistory&) = delete;
    CEditHistory& operator=(const CEditHistory&) = delete;

    /// False where SQLite lacks the session extension or after SetEnabled(false):
    /// nothing is recorded then.
    bool IsEnabled() const;
    void SetEnabled(bool enabled);

    /// Recording an edit. Begin and End nest: the outermost pair makes one step of what
    /// changed in between, with its description and subject; when nothing changed (an
    /// edit that failed and was rolled back) there is no step. A recording that fails
    /// clears the history, which could no longer be trusted; the edit itself goes on.
    /// End returns true when it kept a step.
    void Begin(const QString& description, const EditSubject& subject);
    // For an edit that makes its subject (a new storage).
    void SetSubject(const EditSubject& subject);
    bool End();
    bool IsRecording() const { return m_depth > 0; }

    /// A committed addition: its top unit, which lies directly in the storage.
    void AddAddition(const QString& description, int unitId, int storageId);
    /// A committed import of a list: the units it made directly in the storage, and
    /// the storage itself when the import made it (newStorage). Like an addition, it
    /// is recorded at its first undo.
    void AddImport(const QString& description, int storageId, bool newStorage,
                   const std::vector<int>& unitIds);

    bool CanUndo() const;
    bool CanRedo() const;
    /// What Undo would take back and Redo would do again; empty when nothing.
    QString UndoDescription() const;
    QString RedoDescription() const;
    /// Each raises CSqliteWrapperError (not fatal) when it fails, and the catalogue and
    /// the history are then as they were; they return the step's subject.
    EditSubject Undo();
    EditSubject Redo();
    void Clear();

    int StepCount() const { return static_cast<int>(m_steps.size()); }
    // The bytes the steps hold.
    qint64 MemoryUsed() const;

private:
    using ExtensionRows = std::vector<std::pair<QString, int>>;

    struct Step
    {
        QString Description;
        EditSubject Subject;
        QByteArray Changes;
        // Changes holds the undo (a recorded deletion of an addition), not the edit.
        bool ChangesAreUndo = false;
        bool ExtensionsChanged = false;
        ExtensionRows ExtensionsBefore;
        ExtensionRows ExtensionsAfter;
        // An addition that was never undone: its top unit (0 otherwise).
        int AddedUnitId = 0;
        // An import that was never undone: its top units, and the storage it made (0
        // when it went into one that was there).
        bool PendingImport = false;
        std::vector<int> ImportedUnitIds;
        int ImportedStorageId = 0;
    };

    void Push(Step step);
    void Apply(Step& step, bool undo);
    void RemoveAddition(int unitId);
    void AbandonRecording(const char* what);
    void Trim();
    static qint64 StepSize(const Step& step);

    CSqliteWrapper& m_db;
    std::vector<Step> m_steps;
    size_t m_done = 0; // steps before this index can be undone, the others redone
    int m_depth = 0;
    bool m_enabled = true;
    bool m_recordingFailed = false;
    Step m_recording;
};
