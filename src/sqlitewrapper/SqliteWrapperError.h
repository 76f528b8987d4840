#pragma once

#include <QString>

#include <stdexcept>
#include <string>

// The one exception of the catalogue layer: SQLite's message and result code, the
// layer's source file and a fixed line number for the place that raised it, and
// whether the error handler closes the main window after showing it.
class CSqliteWrapperError : public std::runtime_error
{
public:
    CSqliteWrapperError(const std::string& message, int code, QString file, int line, bool fatal);
    CSqliteWrapperError(const CSqliteWrapperError&) = default;
    CSqliteWrapperError& operator=(const CSqliteWrapperError&) = default;
    ~CSqliteWrapperError() override;

    int GetCode() const { return m_code; }
    const QString& GetFile() const { return m_file; }
    int GetLine() const { return m_line; }
    bool IsFatal() const { return m_fatal; }
    // The same error for a caller that keeps the window open after showing it.
    CSqliteWrapperError NonFatal() const
    {
        return CSqliteWrapperError(what(), m_code, m_file, m_line, false);
    }

private:
    int m_code;
    QString m_file;
    int m_line;
    bool m_fatal;
};
