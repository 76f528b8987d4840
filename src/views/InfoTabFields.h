#pragma once

#include "document/UnitProperties.h"

#include <QString>

#include <vector>

class QWidget;

// The value fields of the properties tabs are found through their labels: each label
// of a tab's form names its value widget as its buddy, so the texts collected for a
// tab (UnitProperties) go straight to the fields of the same label.
namespace InfoTabFields {

/// Puts each value into the field labelled like it on page; values whose label the
/// page lacks are left out.
void Fill(QWidget& page, const std::vector<UnitProperties::Field>& fields);

/// The value of the field labelled label (e.g. "Size:") in fields, empty when absent.
QString Value(const std::vector<UnitProperties::Field>& fields, const QString& label);

/// The widget next to the label with exactly that text on page, or nullptr.
QWidget* FieldWidget(const QWidget& page, const QString& label);

/// The text the field next to label shows on page; empty when the page has no such
/// label.
QString FieldText(const QWidget& page, const QString& label);

/// Shows text in a line edit or a plain-text edit, from its beginning.
void SetText(QWidget* field, const QString& text);

} // namespace InfoTabFields
