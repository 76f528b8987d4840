#pragma once

#include <QString>

#include <mutex>
#include <vector>

class CSqliteWrapperError;

// A folder or file the scanner could not read, with the system's message.
struct FileSystemError
{
    QString Path;
    QString Message;
};

// Every error goes through here: an entry is appended to "log.txt" in the settings
// folder, then the error is shown through the UserPrompter unless silent, and the main
// window is closed when asked. Thread-safe: the scanner reports from its thread.
class ErrorLog final
{
public:
    static ErrorLog& Instance();

    void SetLogPath(const QString& path);
    QString LogPath() const;

    void WriteLogEntry(int code, const QString& message, const QString& sourceFile, int line);
    void ReportError(int code, const QString& message, const QString& sourceFile, int line,
                     bool close, bool silent);
    void ReportException(const CSqliteWrapperError& error, bool silent);
    // The calling thread's last system error (errno; GetLastError on Windows), with
    // the source "ShelfwiseDoc".
    void ReportLastError(int line, bool close, bool silent);
    // The scanner's report of a path it could not read: listed and logged, not shown.
    void ReportFileSystemError(const QString& path);
    // The same with an explicit error code (errno value) when the caller has it.
    void ReportFileSystemError(const QString& path, int code);
    // The same with the reason in words, for a file whose contents could not be read (an
    // archive that is encrypted or damaged); logged with code 0.
    void ReportFileSystemError(const QString& path, const QString& message);

    std::vector<FileSystemError> FileSystemErrors() const;
    void ClearFileSystemErrors();

    // The text shown for an error: string 197 for the two errors SQLite reports for a
    // file that is no catalogue, otherwise the message itself.
    static QString DisplayText(int code, const QString& message);

private:
    mutable std::mutex m_mutex;
    // Entries are appended one at a time: two threads writing through their own
    // handles at the same end of the file would overwrite each other.
    std::mutex m_writeMutex;
    QString m_logPath;
    std::vector<FileSystemError> m_fileSystemErrors;
};
