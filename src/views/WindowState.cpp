#include "views/WindowState.h"

#include "settings/Settings.h"

#include <QSettings>

#include <utility>

namespace {

const char kModeKey[] = "Window/ViewMode";
const char kSortColumnKey[] = "Window/SortColumn";
const char kSortOrderKey[] = "Window/SortOrder";
const char kGeometryKey[] = "Window/Geometry";

// The modes by the names they are stored under.
const std::pair<CDetailsView::Mode, const char*> kModes[] = {
    {CDetailsView::Mode::Icons, "Icons"},
    {CDetailsView::Mode::SmallIcons, "SmallIcons"},
    {CDetailsView::Mode::List, "List"},
    {CDetailsView::Mode::Details, "Details"},
};

} // namespace

namespace WindowState {

std::unique_ptr<QSettings> Store()
{
    if (!qEnvironmentVariableIsEmpty("SHELFWISE_SETTINGS_DIR"))
        return std::make_unique<QSettings>(SettingsFolder() + QStringLiteral("RecentFiles.ini"),
                                           QSettings::IniFormat);
    return std::make_unique<QSettings>(QStringLiteral("Korvalt"), QStringLiteral("Shelfwise"));
}

View LoadView()
{
    const auto store = Store();
    View view;
    const QString mode = store->value(QLatin1String(kModeKey)).toString();
    for (const auto& [value, name] : kModes) {
        if (mode == QLatin1String(name))
            view.Mode = value;
    }
    bool number = false;
    const int column = store->value(QLatin1String(kSortColumnKey)).toInt(&number);
    view.SortColumn = number && column >= 0 ? column : -1;
    view.SortOrder =
        store->value(QLatin1String(kSortOrderKey)).toString() == QLatin1String("Descending")
            ? Qt::DescendingOrder
            : Qt::AscendingOrder;
    return view;
}

void SaveView(const View& view)
{
    const auto store = Store();
    for (const auto& [value, name] : kModes) {
        if (view.Mode == value)
            store->setValue(QLatin1String(kModeKey), QLatin1String(name));
    }
    store->setValue(QLatin1String(kSortColumnKey), view.SortColumn);
    store->setValue(QLatin1String(kSortOrderKey), view.SortOrder == Qt::DescendingOrder
                                                      ? QStringLiteral("Descending")
                                                      : QStringLiteral("Ascending"));
}

QByteArray LoadGeometry()
{
    return Store()->value(QLatin1String(kGeometryKey)).toByteArray();
}

void SaveGeometry(const QByteArray& geometry)
{
    Store()->setValue(QLatin1String(kGeometryKey), geometry);
}

} // namespace WindowState
