#include "views/ArchiveInfoTab.h"

#include "views/InfoTabFields.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>

CArchiveInfoTab::CArchiveInfoTab(QWidget* parent) : QWidget(parent)
{
    setAccessibleName(UnitProperties::ArchiveTabTitle());
    auto* form = new QFormLayout(this);
    // Each label names its field as its buddy, which is how InfoTabFields finds it.
    for (const auto& [label, accessible] :
         {std::pair{QStringLiteral("Format:"), tr("Archive format")},
          std::pair{QStringLiteral("Entries:"), tr("Entries in the archive")},
          std::pair{QStringLiteral("Uncompressed Size:"), tr("Size uncompressed")}}) {
        auto* field = new QLineEdit(this);
        field->setReadOnly(true);
        field->setAccessibleName(accessible);
        auto* caption = new QLabel(label, this);
        caption->setBuddy(field);
        form->addRow(caption, field);
    }
}

void CArchiveInfoTab::SetValues(const UnitProperties::Tab& values)
{
    InfoTabFields::Fill(*this, values.Fields);
}
