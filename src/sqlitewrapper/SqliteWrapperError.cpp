#include "sqlitewrapper/SqliteWrapperError.h"

#include <utility>

CSqliteWrapperError::CSqliteWrapperError(const std::string& message, int code, QString file,
                                         int line, bool fatal)
    : std::runtime_error(message), m_code(code), m_file(std::move(file)), m_line(line),
      m_fatal(fatal)
{
}

CSqliteWrapperError::~CSqliteWrapperError() = default;
