#include "cli/CliContext.h"

#include "cli/Interrupt.h"
#include "cli/Table.h"
#include "common/Strings.h"
#include "document/ProgramVersion.h"
#include "errorlog/ErrorLog.h"

#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstdio>

namespace {

const char kSource[] = "ShelfwiseCli";

bool AllDigits(const QString& text)
{
    return !text.isEmpty() &&
           std::all_of(text.begin(), text.end(), [](QChar ch) { return ch.isDigit(); });
}

} // namespace

int CliContext::Fail(const QString& message)
{
    ErrorLog::Instance().ReportError(0, message, QString::fromLatin1(kSource), 0, false, false);
    return ExitStatus::Error;
}

int CliContext::UsageError(const QString& message)
{
    const QByteArray bytes =
        (QStringLiteral("shelfwise-cli: ") + message + QLatin1Char('\n')).toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
    return ExitStatus::Usage;
}

bool CliContext::OpenCatalogue(const QString& path, bool forEdit)
{
    const QFileInfo info(path);
    if (!info.exists()) {
        ErrorLog::Instance().ReportError(
            ENOENT, QStringLiteral("The catalogue \"%1\" does not exist.").arg(path),
            QString::fromLatin1(kSource), __LINE__, false, false);
        return false;
    }
    if (info.isDir()) {
        ErrorLog::Instance().ReportError(
            EISDIR, QStringLiteral("\"%1\" is a folder, not a catalogue.").arg(path),
            QString::fromLatin1(kSource), __LINE__, false, false);
        return false;
    }
    if (!info.isFile()) {
        // A pipe or a device: even opening it to lock it could wait for ever.
        ErrorLog::Instance().ReportError(0, Strings::LoadString(Strings::IDS_NOT_A_CATALOGUE),
                                         QString::fromLatin1(kSource), __LINE__, false, false);
        return false;
    }
    if (forEdit && !m_lock.Acquire(info.absoluteFilePath())) {
        ErrorLog::Instance().ReportError(
            errno, QStringLiteral("The catalogue \"%1\" cannot be read.").arg(path),
            QString::fromLatin1(kSource), __LINE__, false, false);
        return false;
    }
    m_doc = std::make_unique<CShelfwiseDoc>(true);
    // One command, then the process ends: nothing to undo, so nothing is recorded.
    m_doc->SetHistoryEnabled(false);
    QObject::connect(m_doc.get(), &CShelfwiseDoc::saving, [] { InterruptGuard::BeginSave(); });
    return m_doc->OnOpenDocument(info.absoluteFilePath()) && !m_prompter.CloseRequested();
}

bool CliContext::OpenForReading(const QString& path)
{
    const QFileInfo info(path);
    if (info.isFile()) {
        auto reader = std::make_unique<CSqliteWrapper>();
        try {
            reader->OpenForReading(info.absoluteFilePath());
            if (Version::ParseVersionNumber(reader->GetDatabaseVersion()) ==
                Version::ProgramVersion()) {
                m_reader = std::move(reader);
                return true;
            }
        } catch (const CSqliteWrapperError&) {
            // Not a catalogue this way: the document's open says why.
        }
    }
    return OpenCatalogue(path, false);
}

bool CliContext::IndexWaitingNames()
{
    // Large steps: each is one statement and one transaction, and FTS5 writes a step's
    // names at once (about 2 s for 170,000 names here).
    constexpr int kStep = 100000;
    CSqliteWrapper& db = Db();
    const qint64 total = db.CountUnindexedNames();
    if (total <= 0 || !db.HasNameIndex())
        return true;
    ProgressLine line("Indexing names");
    for (qint64 left = total; left > 0; left = db.IndexNamesStep(kStep)) {
        if (InterruptGuard::Interrupted())
            return false;
        line.Show(static_cast<int>((total - left) * 100 / total));
    }
    line.Done();
    return true;
}

bool CliContext::SaveCatalogue()
{
    // The document says why and where the changes are kept.
    if (!m_doc->FileSave())
        return false;
    m_lock.Release();
    return true;
}

int CliContext::Finish(bool succeeded)
{
    if (!succeeded || m_prompter.CloseRequested())
        return ExitStatus::Error;
    return SaveCatalogue() ? ExitStatus::Success : ExitStatus::Error;
}

int CliContext::FinishAdding(int id, const QString& name)
{
    const int status = Finish(id != 0);
    if (status == ExitStatus::Success) {
        Table table({"id", "name"});
        table.AddRow({id, name});
        table.Print(Json);
    }
    return status;
}

bool CliContext::ResolveStorage(const QString& text, int& storageId)
{
    std::vector<StorageRecord> read;
    if (m_reader)
        m_reader->GetStorages(read);
    const auto& storages = m_reader ? read : m_doc->Storages();
    if (AllDigits(text)) {
        for (const StorageRecord& storage : storages) {
            if (storage.StorageID == text.toInt()) {
                storageId = storage.StorageID;
                return true;
            }
        }
    }
    for (const StorageRecord& storage : storages) {
        if (storage.StorageName == text) {
            storageId = storage.StorageID;
            return true;
        }
    }
    Fail(QStringLiteral("There is no storage \"%1\".").arg(text));
    return false;
}

bool CliContext::ResolveCategory(const QString& text, int& categoryId)
{
    const auto& categories = Db().Categories();
    if (AllDigits(text) && categories.count(text.toInt())) {
        categoryId = text.toInt();
        return true;
    }
    for (const auto& [id, category] : categories) {
        if (category.Name == text) {
            categoryId = id;
            return true;
        }
    }
    Fail(QStringLiteral("There is no category \"%1\".").arg(text));
    return false;
}

bool CliContext::ResolveUnit(const QString& text, UnitListItem& unit)
{
    if (AllDigits(text)) {
        try {
            unit = Db().GetUnit(text.toInt());
            return true;
        } catch (const std::out_of_range&) {
        } catch (const CSqliteWrapperError& error) {
            ErrorLog::Instance().ReportException(error, false);
            return false;
        }
    }
    Fail(QStringLiteral("There is no unit with the id \"%1\".").arg(text));
    return false;
}

QString CliContext::CategoryName(int categoryId)
{
    return Db().GetCategory(categoryId).Name;
}
