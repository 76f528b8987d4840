// Shelfwise, the desktop program.
#include "app/ShelfwiseApp.h"
#include "common/LocalTimeZone.h"

#include <QApplication>

int main(int argc, char** argv)
{
    LocalTimeZone::PinSystemZone();
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Korvalt"));
    QApplication::setApplicationName(QStringLiteral("Shelfwise"));
    // Ties the window to its desktop entry (icon and name in task bars on Wayland).
    QGuiApplication::setDesktopFileName(QStringLiteral("org.korvalt.Shelfwise"));
    CShelfwiseApp app;
    if (!app.InitInstance(QApplication::arguments()))
        return 0;
    return QApplication::exec();
}
