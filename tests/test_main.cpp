// The tests' main: the process takes its locale from the environment, as the
// library's host applications do, so that running the suite under
// LC_ALL=de_DE.UTF-8 shows whatever still follows the locale.
#include <gtest/gtest.h>

#include <clocale>

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "");
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
