#pragma once
// The QApplication of the window tests, on the offscreen platform: made by
// the first test that needs it and kept for the test program's life.

#include <QApplication>

inline void EnsureOffscreenApp() {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "ui_tests";
    static char* argv[] = {name, nullptr};
    if (!QApplication::instance())
        new QApplication(argc, argv);
}
