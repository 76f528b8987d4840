#include "errorlog/ErrorLog.h"

#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "settings/CStdioFileEx.h"
#include "sqlitewrapper/SqliteWrapperError.h"

#include <QByteArray>

#include <cerrno>
#include <cstring>
#include <ctime>

#ifdef _WIN32
#include <windows.h>
// windows.h maps LoadString to its own function; ours is Strings::LoadString.
#undef LoadString
#endif

namespace {

const char kEntryFormat[] =
    "--------------------------------------------------------------------------------\n"
    "Error: %s\n"
    "Error code: %d\n"
    "Time: %s"
    "Source filename: \"%s\"\n"
    "Line number: %d\n"
    "--------------------------------------------------------------------------------\n";

const QString kDocumentSource = QStringLiteral("ShelfwiseDoc");
const QString kScannerSource = QStringLiteral("SubunitsSearcher");
// The scanner's reports carry the line of its one reporting call.
constexpr int kScannerLine = 76;

// SQLite's result codes for a file that is not a catalogue.
constexpr int kSqliteError = 1;
constexpr int kSqliteNotADatabase = 26;

// The current local time in ctime's fixed form ("Sun Nov 15 12:27:42 2026\n"). The
// reentrant forms are used because the scanner thread logs too.
QByteArray CurrentTimeText()
{
    const std::time_t now = std::time(nullptr);
    char buffer[26] = {};
#ifdef _WIN32
    if (ctime_s(buffer, sizeof buffer, &now) != 0)
        return QByteArray("\n");
#else
    if (!ctime_r(&now, buffer))
        return QByteArray("\n");
#endif
    return QByteArray(buffer);
}

#ifdef _WIN32
int LastSystemError()
{
    return static_cast<int>(GetLastError());
}

// The system's text of a Windows error code, with its closing line end as the
// system gives it.
QString SystemMessage(int code)
{
    wchar_t* buffer = nullptr;
    const DWORD length = FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, static_cast<DWORD>(code), 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
    QString text;
    if (length != 0 && buffer)
        text = QString::fromWCharArray(buffer, static_cast<qsizetype>(length));
    if (buffer)
        LocalFree(buffer);
    return text;
}
#else
int LastSystemError()
{
    return errno;
}

// glibc's strerror_r returns the text; the POSIX one fills the buffer and returns 0.
[[maybe_unused]] const char* StrerrorText(const char* result, const char*)
{
    return result;
}

[[maybe_unused]] const char* StrerrorText(int, const char* buffer)
{
    return buffer;
}

QString SystemMessage(int code)
{
    char buffer[256] = {};
    return QString::fromLocal8Bit(StrerrorText(strerror_r(code, buffer, sizeof buffer), buffer));
}
#endif

} // namespace

ErrorLog& ErrorLog::Instance()
{
    static ErrorLog instance;
    return instance;
}

void ErrorLog::SetLogPath(const QString& path)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_logPath = path;
}

QString ErrorLog::LogPath() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_logPath;
}

void ErrorLog::WriteLogEntry(int code, const QString& message, const QString& sourceFile, int line)
{
    // Reporting an error must never raise another one; a lost entry is accepted.
    try {
        const QString path = LogPath();
        if (path.isEmpty())
            return;
        const QString entry =
            QString::asprintf(kEntryFormat, message.toUtf8().constData(), code,
                              CurrentTimeText().constData(), sourceFile.toUtf8().constData(), line);

        std::lock_guard<std::mutex> lock(m_writeMutex);
        CStdioFileEx file;
        if (!file.Open(path, CStdioFileEx::ModeWrite | CStdioFileEx::ModeCreate |
                                 CStdioFileEx::ModeNoTruncate))
            return;
        file.SeekToEnd();
        file.WriteString(entry);
        file.Close();
    } catch (...) {
    }
}

void ErrorLog::ReportError(int code, const QString& message, const QString& sourceFile, int line,
                           bool close, bool silent)
{
    WriteLogEntry(code, message, sourceFile, line);
    if (silent)
        return;
    try {
        UserPrompter& prompter = UserPrompter::Current();
        prompter.ShowMessage(DisplayText(code, message), UserPrompter::Icon::Error);
        if (close)
            prompter.CloseMainWindow();
    } catch (...) {
    }
}

void ErrorLog::ReportException(const CSqliteWrapperError& error, bool silent)
{
    ReportError(error.GetCode(), QString::fromLocal8Bit(error.what()), error.GetFile(),
                error.GetLine(), error.IsFatal(), silent);
}

void ErrorLog::ReportLastError(int line, bool close, bool silent)
{
    // Read first: anything run before may change the thread's last error.
    const int code = LastSystemError();
    ReportError(code, SystemMessage(code), kDocumentSource, line, close, silent);
}

void ErrorLog::ReportFileSystemError(const QString& path)
{
    const int code = LastSystemError();
    ReportFileSystemError(path, code);
}

void ErrorLog::ReportFileSystemError(const QString& path, int code)
{
    try {
        const QString text = SystemMessage(code);
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_fileSystemErrors.push_back({path, text});
        }
        WriteLogEntry(code, text, kScannerSource, kScannerLine);
    } catch (...) {
    }
}

void ErrorLog::ReportFileSystemError(const QString& path, const QString& message)
{
    try {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_fileSystemErrors.push_back({path, message});
        }
        WriteLogEntry(0, path + QStringLiteral(": ") + message, kScannerSource, kScannerLine);
    } catch (...) {
    }
}

std::vector<FileSystemError> ErrorLog::FileSystemErrors() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_fileSystemErrors;
}

void ErrorLog::ClearFileSystemErrors()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_fileSystemErrors.clear();
}

QString ErrorLog::DisplayText(int code, const QString& message)
{
    // A database without the Categories table, or no database at all. Older SQLite
    // says "file is encrypted or is not a database", newer ones "file is not a
    // database" for the same case.
    const bool notACatalogue =
        (code == kSqliteError && message == QLatin1String("no such table: Categories")) ||
        (code == kSqliteNotADatabase &&
         (message == QLatin1String("file is encrypted or is not a database") ||
          message == QLatin1String("file is not a database")));
    return notACatalogue ? Strings::LoadString(Strings::IDS_NOT_A_CATALOGUE) : message;
}
