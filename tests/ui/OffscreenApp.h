#pragma once
// The QApplication of the window tests, on the offscreen platform: made by
// the first test that needs it and kept for the test program's life.

#include <QApplication>
#include <QString>

#include <ostream>

// Failures show texts, not their UTF-16 units.
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << text.toStdString();
}

inline void EnsureOffscreenApp() {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "ui_tests";
    static char* argv[] = {name, nullptr};
    if (!QApplication::instance())
        new QApplication(argc, argv);
}
