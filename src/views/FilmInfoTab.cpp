#include "views/FilmInfoTab.h"

#include "views/InfoTabFields.h"

#include "ui_FilmInfoTab.h"

CFilmInfoTab::CFilmInfoTab(QWidget* parent) : QWidget(parent), m_ui(new Ui::CFilmInfoTab)
{
    m_ui->setupUi(this);
}

CFilmInfoTab::~CFilmInfoTab() = default;

void CFilmInfoTab::SetValues(const UnitProperties::Tab& values)
{
    InfoTabFields::Fill(*this, values.Fields);
}
