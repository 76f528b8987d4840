#include "search/AdvancedSearchTab.h"

#include "search/ComparisonOperator.h"

#include "ui_AdvancedSearchTab.h"

#include <QButtonGroup>

namespace {

// A width, height or duration test: used when its box is checked.
void GatherTest(const QCheckBox* check, const QComboBox* op, const QSpinBox* value, bool& use,
                char& oper, int& number)
{
    use = check->isChecked();
    oper = ComparisonOperatorAt(op->currentIndex());
    number = value->value();
}

// A music tag: the edit's text when its box is enabled and checked, else null.
CNullable<QString> Tag(const QCheckBox* check, const QLineEdit* edit)
{
    if (!check->isEnabled() || !check->isChecked())
        return {};
    return edit->text();
}

} // namespace

CAdvancedSearchTab::CAdvancedSearchTab(QWidget* parent)
    : QWidget(parent), m_ui(new Ui::CAdvancedSearchTab), m_modes(new QButtonGroup(this))
{
    m_ui->setupUi(this);
    m_modes->addButton(m_ui->allRadio, AllCategories);
    m_modes->addButton(m_ui->musicRadio, MusicOnly);
    m_modes->addButton(m_ui->picturesRadio, PicturesOnly);
    m_modes->addButton(m_ui->filmsRadio, FilmsOnly);
    m_modes->addButton(m_ui->customRadio, CustomOnly);
    connect(m_modes, &QButtonGroup::idToggled, this, [this](int, bool checked) {
        if (checked)
            UpdateEnabled();
    });
    UpdateEnabled();
}

CAdvancedSearchTab::~CAdvancedSearchTab() = default;

void CAdvancedSearchTab::SetCategories(const std::map<int, CategoryRecord>& categories)
{
    m_filmId = m_musicId = m_pictureId = kNoCategory;
    QComboBox* combo = m_ui->customCombo;
    const QVariant chosen = combo->currentData();
    combo->clear();
    for (const auto& [id, category] : categories) {
        if (category.IsCustom)
            combo->addItem(category.Name, id);
        else if (category.Name == QLatin1String("Film"))
            m_filmId = id;
        else if (category.Name == QLatin1String("Music"))
            m_musicId = id;
        else if (category.Name == QLatin1String("Picture"))
            m_pictureId = id;
    }
    const int again = chosen.isValid() ? combo->findData(chosen) : -1;
    combo->setCurrentIndex(again >= 0 ? again : 0);
}

int CAdvancedSearchTab::CurrentMode() const
{
    return m_modes->checkedId();
}

void CAdvancedSearchTab::SetMode(int mode)
{
    if (QAbstractButton* button = m_modes->button(mode))
        button->setChecked(true);
}

void CAdvancedSearchTab::Gather(SearchCriteria& criteria) const
{
    const int mode = CurrentMode();
    switch (mode) {
    case AllCategories:
        criteria.CategoryID = CategoryIds::All;
        break;
    case MusicOnly:
        criteria.CategoryID = m_musicId;
        break;
    case PicturesOnly:
        criteria.CategoryID = m_pictureId;
        break;
    case FilmsOnly:
        criteria.CategoryID = m_filmId;
        break;
    case CustomOnly: {
        const QVariant id = m_ui->customCombo->currentData();
        criteria.CategoryID = id.isValid() ? id.toInt() : kNoCategory;
        break;
    }
    default:
        criteria.CategoryID = kNoCategory;
        break;
    }

    const Ui::CAdvancedSearchTab& ui = *m_ui;
    criteria.Title = Tag(ui.titleCheck, ui.titleEdit);
    criteria.Artist = Tag(ui.artistCheck, ui.artistEdit);
    criteria.Album = Tag(ui.albumCheck, ui.albumEdit);
    criteria.Genre = Tag(ui.genreCheck, ui.genreEdit);
    criteria.Year = ui.yearCheck->isEnabled() && ui.yearCheck->isChecked()
                        ? CNullable<int>(ui.yearSpin->value())
                        : CNullable<int>();

    criteria.UseWidth = criteria.UseHeight = criteria.UseDuration = false;
    criteria.WidthOperator = criteria.HeightOperator = criteria.DurationOperator = 0;
    criteria.Width = criteria.Height = criteria.Duration = 0;
    if (mode == PicturesOnly) {
        GatherTest(ui.pictureWidthCheck, ui.pictureWidthOperator, ui.pictureWidthSpin,
                   criteria.UseWidth, criteria.WidthOperator, criteria.Width);
        GatherTest(ui.pictureHeightCheck, ui.pictureHeightOperator, ui.pictureHeightSpin,
                   criteria.UseHeight, criteria.HeightOperator, criteria.Height);
    } else if (mode == FilmsOnly) {
        GatherTest(ui.filmWidthCheck, ui.filmWidthOperator, ui.filmWidthSpin, criteria.UseWidth,
                   criteria.WidthOperator, criteria.Width);
        GatherTest(ui.filmHeightCheck, ui.filmHeightOperator, ui.filmHeightSpin, criteria.UseHeight,
                   criteria.HeightOperator, criteria.Height);
        // The catalogue keeps durations in seconds; the number goes in as typed.
        GatherTest(ui.filmDurationCheck, ui.filmDurationOperator, ui.filmDurationSpin,
                   criteria.UseDuration, criteria.DurationOperator, criteria.Duration);
    }
}

void CAdvancedSearchTab::UpdateEnabled()
{
    const int mode = CurrentMode();
    const Ui::CAdvancedSearchTab& ui = *m_ui;
    const auto enable = [](std::initializer_list<QWidget*> widgets, bool on) {
        for (QWidget* widget : widgets)
            widget->setEnabled(on);
    };
    enable({ui.titleCheck, ui.titleEdit, ui.artistCheck, ui.artistEdit, ui.albumCheck, ui.albumEdit,
            ui.yearCheck, ui.yearSpin, ui.genreCheck, ui.genreEdit},
           mode == MusicOnly);
    enable({ui.pictureWidthCheck, ui.pictureWidthOperator, ui.pictureWidthSpin,
            ui.pictureHeightCheck, ui.pictureHeightOperator, ui.pictureHeightSpin},
           mode == PicturesOnly);
    enable({ui.filmWidthCheck, ui.filmWidthOperator, ui.filmWidthSpin, ui.filmHeightCheck,
            ui.filmHeightOperator, ui.filmHeightSpin, ui.filmDurationCheck, ui.filmDurationOperator,
            ui.filmDurationSpin, ui.durationUnitLabel},
           mode == FilmsOnly);
    enable({ui.customCombo}, mode == CustomOnly);
    // The group titles grey with their controls.
    enable({ui.musicGroup}, mode == MusicOnly);
    enable({ui.picturesGroup}, mode == PicturesOnly);
    enable({ui.filmsGroup}, mode == FilmsOnly);
}
