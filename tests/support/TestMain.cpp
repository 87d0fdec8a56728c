#include <gtest/gtest.h>

#include <clocale>

int main(int argc, char** argv) {
    // Tests set the locale record by hand; the C library stays in the C locale
    // so that the process environment never changes a result.
    std::setlocale(LC_ALL, "C");
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
