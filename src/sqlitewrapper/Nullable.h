#pragma once

#include <QChar>
#include <QString>

#include <stdexcept>
#include <type_traits>
#include <utility>

// A value that may be SQL NULL. Used for the optional columns of the media rows and
// for the music tags of a search.
template <typename T> class CNullable
{
public:
    CNullable() = default;
    CNullable(T value) : m_isNull(false), m_value(std::move(value)) {}

    bool IsNull() const { return m_isNull; }

    const T& Value() const
    {
        if (m_isNull)
            throw std::runtime_error("Attempt to get null value.");
        return m_value;
    }

    void SetNull()
    {
        m_isNull = true;
        m_value = T();
    }

    CNullable& operator=(T value)
    {
        m_isNull = false;
        m_value = std::move(value);
        return *this;
    }

    bool operator==(const CNullable& other) const
    {
        return m_isNull == other.m_isNull && (m_isNull || m_value == other.m_value);
    }
    bool operator!=(const CNullable& other) const { return !(*this == other); }

    // The value as it is written into a statement: NULL, a number, the bare text of a
    // string (callers quote it), or a character in single quotes.
    QString ToSqlText() const
    {
        if (m_isNull)
            return QStringLiteral("NULL");
        if constexpr (std::is_same_v<T, QString>) {
            return m_value;
        } else if constexpr (std::is_same_v<T, QChar> || std::is_same_v<T, char>) {
            return QLatin1Char('\'') + QChar(m_value) + QLatin1Char('\'');
        } else if constexpr (std::is_integral_v<T>) {
            return QString::number(m_value);
        } else {
            throw std::runtime_error("Attempt to get string for unknown data type.");
        }
    }

private:
    bool m_isNull = true;
    T m_value{};
};
