#pragma once

#include "sqlitewrapper/Records.h"
#include "sqlitewrapper/SearchCriteria.h"

#include <QWidget>

#include <map>
#include <memory>

class QButtonGroup;

namespace Ui {
class CAdvancedSearchTab;
}

/// The "Advanced" page of the search dialog: which categories to search (all, music,
/// pictures, films or one custom category) and, for music, pictures and films, their
/// tags, dimensions and duration. Each mode enables exactly its own controls.
class CAdvancedSearchTab final : public QWidget
{
    Q_OBJECT

public:
    enum Mode : int { AllCategories = 0, MusicOnly, PicturesOnly, FilmsOnly, CustomOnly };
    /// The category id searched when a mode has no category: it matches nothing.
    static constexpr int kNoCategory = -2;

    explicit CAdvancedSearchTab(QWidget* parent = nullptr);
    ~CAdvancedSearchTab() override;

    /// Takes the film, music and picture categories by their names "Film", "Music" and
    /// "Picture", and lists every custom category in id order, each item carrying its
    /// CategoryID; the custom category chosen before stays chosen while it exists.
    void SetCategories(const std::map<int, CategoryRecord>& categories);

    int CurrentMode() const;
    void SetMode(int mode);

    /// The category, the music tags and the picture or film dimensions and duration,
    /// from the controls of the current mode only.
    void Gather(SearchCriteria& criteria) const;

private:
    void UpdateEnabled();

    std::unique_ptr<Ui::CAdvancedSearchTab> m_ui;
    QButtonGroup* m_modes;
    int m_filmId = kNoCategory;
    int m_musicId = kNoCategory;
    int m_pictureId = kNoCategory;
};
