// (c) the ztrace developers. Licence: see LICENSE.
//
// What the toolkit's start costs by itself: its application object, without a display, and no more.
#include <QGuiApplication>

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    return 0;
}
