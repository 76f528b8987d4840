#pragma once

#include <QWidget>

#include <memory>

class Settings;

namespace Ui {
class CGeneralOptionsTab;
}

/// The "General" page of the options: file icon style, autosave (by timer and after
/// every update), the order in which units are listed, whether discs inserted while
/// the window runs are recognised, and whether additions look inside archives and keep
/// thumbnails of pictures.
class CGeneralOptionsTab final : public QWidget
{
    Q_OBJECT

public:
    explicit CGeneralOptionsTab(QWidget* parent = nullptr);
    ~CGeneralOptionsTab() override;

    /// Shows the values of settings.
    void Load(const Settings& settings);
    /// Writes the page's values into settings: AutosaveTimeout is the minutes when
    /// "Every" is checked, otherwise 0.
    void Store(Settings& settings) const;

private:
    std::unique_ptr<Ui::CGeneralOptionsTab> m_ui;
};
