#pragma once

#include <QWidget>

#include <memory>

class Settings;

namespace Ui {
class CDuplicatesOptionsTab;
}

/// The "Duplicates" page of the options: which volume facts must agree for a disc
/// being added to count as one already catalogued.
class CDuplicatesOptionsTab final : public QWidget
{
    Q_OBJECT

public:
    explicit CDuplicatesOptionsTab(QWidget* parent = nullptr);
    ~CDuplicatesOptionsTab() override;

    void Load(const Settings& settings);
    void Store(Settings& settings) const;

private:
    std::unique_ptr<Ui::CDuplicatesOptionsTab> m_ui;
};
