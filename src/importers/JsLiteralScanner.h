#pragma once

#include <QJsonObject>
#include <QString>

#include <vector>

// One value of a script's array literal: a string (its escapes undone), a number, or an
// object written as JSON.
struct JsLiteral
{
    enum class Kind { String, Number, Object };
    Kind Type = Kind::String;
    QString Text;
    double Number = 0;
    QJsonObject Object;
};

// One call found in the text: the line (from 1) where it starts and its array's values.
struct JsCall
{
    int Line = 0;
    std::vector<JsLiteral> Values;
};

// Finds, one after the other, the calls of a function with a single array literal as its
// argument in a page's scripts, such as
//     D.p(["Photos*0*1600000000","a.jpg*1234*1600000000",1234,"1*2"])
// and reads the array. Calls of the same name with another argument are passed over. A
// literal that does not parse throws ImportError with its line.
class CJsLiteralScanner final
{
public:
    // callee: the text before the opening parenthesis, "D.p".
    CJsLiteralScanner(QString text, const QString& callee);

    // The next call into call; false when there are no more.
    bool Next(JsCall& call);

private:
    JsLiteral String();
    JsLiteral Number();
    JsLiteral Object();
    void SkipSpace();
    QChar Peek() const;
    void Advance();
    [[noreturn]] void Fail(const QString& message) const;

    QString m_text;
    QString m_call; // callee and "("
    int m_pos = 0;
    int m_line = 1;
};
