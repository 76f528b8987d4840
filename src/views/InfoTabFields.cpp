#include "views/InfoTabFields.h"

#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QWidget>

namespace InfoTabFields {

void Fill(QWidget& page, const std::vector<UnitProperties::Field>& fields)
{
    for (const UnitProperties::Field& field : fields)
        SetText(FieldWidget(page, field.Label), field.Value);
}

QString Value(const std::vector<UnitProperties::Field>& fields, const QString& label)
{
    for (const UnitProperties::Field& field : fields) {
        if (field.Label == label)
            return field.Value;
    }
    return QString();
}

QWidget* FieldWidget(const QWidget& page, const QString& label)
{
    const auto labels = page.findChildren<QLabel*>();
    for (const QLabel* candidate : labels) {
        if (candidate->text() == label && candidate->buddy())
            return candidate->buddy();
    }
    return nullptr;
}

QString FieldText(const QWidget& page, const QString& label)
{
    QWidget* field = FieldWidget(page, label);
    if (const auto* line = qobject_cast<QLineEdit*>(field))
        return line->text();
    if (const auto* plain = qobject_cast<QPlainTextEdit*>(field))
        return plain->toPlainText();
    return QString();
}

void SetText(QWidget* field, const QString& text)
{
    if (auto* line = qobject_cast<QLineEdit*>(field)) {
        line->setText(text);
        // A long path or title reads from its start, not from where the cursor ended.
        line->setCursorPosition(0);
    } else if (auto* plain = qobject_cast<QPlainTextEdit*>(field)) {
        plain->setPlainText(text);
    }
}

} // namespace InfoTabFields
