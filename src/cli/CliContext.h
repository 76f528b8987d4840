#pragma once

#include "cli/CatalogueLock.h"
#include "cli/CliCommand.h"
#include "cli/CliMain.h"
#include "cli/CliPrompter.h"
#include "cli/CommandLine.h"
#include "document/ShelfwiseDoc.h"

#include <exception>
#include <memory>
#include <utility>

// Exit statuses of shelfwise-cli.
namespace ExitStatus {
constexpr int Success = 0;
constexpr int Error = 1;
constexpr int Usage = 2;
constexpr int Duplicates = 3;
constexpr int AnotherDisc = 3; // update found another disc at the source
constexpr int Cancelled = 130;
} // namespace ExitStatus

// What a command works with: its parsed arguments, the output mode, the prompter,
// and the catalogue opened through the same document the window uses.
class CliContext final
{
public:
    CliContext(CliPrompter& prompter, DriveSystemFactory drives)
        : m_prompter(prompter), m_drives(std::move(drives))
    {
    }

    CommandLine Args;
    bool Json = false;

    CliPrompter& Prompter() { return m_prompter; }
    // The machine's optical drives (disc images included).
    std::shared_ptr<DriveSystem> Drives() { return m_drives(); }

    // Opens FILE into a working copy; an editing command locks the file until it has
    // saved. False when it could not be opened (the error has been shown).
    bool OpenCatalogue(const QString& path, bool forEdit);
    // For a command that only reads: the file itself, read-only, when it is at this
    // program's catalogue version, so that a query of a catalogue of millions of units
    // does not first copy it; an older or newer one as OpenCatalogue(path, false) opens
    // it. Doc() is not there after the first way: use Db() and Guard().
    bool OpenForReading(const QString& path);
    CShelfwiseDoc& Doc() { return *m_doc; }
    CSqliteWrapper& Db() { return m_reader ? *m_reader : m_doc->Database(); }
    // Runs a catalogue operation, reporting its failure as the document does; false
    // when it failed.
    template <typename F> bool Guard(F&& operation)
    {
        if (m_doc)
            return m_doc->Guard(std::forward<F>(operation));
        try {
            operation();
            return true;
        } catch (const std::exception& error) {
            Fail(QString::fromUtf8(error.what()));
            return false;
        }
    }
    // Indexes the names of the units an addition or update left waiting for the name
    // index, in bulk steps with a progress line, so the saved catalogue needs none of
    // the window's work. False when Ctrl+C stopped it.
    bool IndexWaitingNames();
    // File Save; false with a message when the file was not written.
    bool SaveCatalogue();
    // Saves when the operation succeeded and returns the exit status.
    int Finish(bool succeeded);
    // Finish for a command that added a row (id 0: it failed); prints its id and name.
    int FinishAdding(int id, const QString& name);

    // Reports an error the way the window does (logged and shown); returns 1.
    int Fail(const QString& message);
    // A usage error; returns 2.
    int UsageError(const QString& message);

    // A storage by id (all digits and existing) or exact name; a category by id or
    // name; a unit by id. False with a message when there is none.
    bool ResolveStorage(const QString& text, int& storageId);
    bool ResolveCategory(const QString& text, int& categoryId);
    bool ResolveUnit(const QString& text, UnitListItem& unit);

    QString CategoryName(int categoryId);

private:
    CliPrompter& m_prompter;
    DriveSystemFactory m_drives;
    CatalogueLock m_lock;
    std::unique_ptr<CShelfwiseDoc> m_doc;
    std::unique_ptr<CSqliteWrapper> m_reader;
};
