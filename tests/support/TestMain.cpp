#include <gtest/gtest.h>

#include "support/PrivateBus.h"

#include <clocale>
#include <cstdlib>
#include <filesystem>

int main(int argc, char** argv) {
    // Tests set the locale record by hand; the C library stays in the C locale
    // so that the process environment never changes a result.
    std::setlocale(LC_ALL, "C");
    // No test, and no program a test starts, reaches the desktop's session
    // bus: there is none unless the test starts its own (PrivateBus).
    ::setenv("DBUS_SESSION_BUS_ADDRESS", testsupport::NoBusAddress, 1);
    // Nor the desktop's X display: tests that need one start their own
    // (PrivateXServer), so they run alike on a desktop and in CI.
    ::unsetenv("DISPLAY");
    // Nor the desktop's Wayland compositor (PrivateCompositor starts one).
    ::unsetenv("WAYLAND_DISPLAY");
    // Nor the user's settings (COM mappings, window positions): a settings
    // folder of its own for each test program, gone after it.
    char settings[] = "/tmp/corvane-test-settings-XXXXXX";
    const bool ownSettings = ::mkdtemp(settings) != nullptr;
    if (ownSettings)
        ::setenv("XDG_CONFIG_HOME", settings, 1);
    ::testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    if (ownSettings) {
        std::error_code ignored;
        std::filesystem::remove_all(settings, ignored);
    }
    return result;
}
