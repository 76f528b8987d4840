#include "sqlitewrapper/SqliteWrapperError.h"

CSqliteWrapperError::CSqliteWrapperError(const std::string& message, int code, const QString& file,
                                         int line, bool fatal)
    : std::runtime_error(message), m_code(code), m_file(file), m_line(line), m_fatal(fatal)
{
}

CSqliteWrapperError::~CSqliteWrapperError() = default;
