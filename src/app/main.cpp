// Shelfwise, the desktop program.
#include "app/ShelfwiseApp.h"

#include <QApplication>

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Korvalt"));
    QApplication::setApplicationName(QStringLiteral("Shelfwise"));
    CShelfwiseApp app;
    if (!app.InitInstance(QApplication::arguments()))
        return 0;
    return QApplication::exec();
}
