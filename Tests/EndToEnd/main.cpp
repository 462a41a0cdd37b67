#include <cstdlib>
#include <string_view>

#include <gtest/gtest.h>

#include "OwnedWindow.h"

int main(int count, char** arguments) {
    if (count == 5 && std::string_view(arguments[1]) == "--own-window") {
        return tavrin::test::ownWindow(arguments[2], {std::atoi(arguments[3]), std::atoi(arguments[4])});
    }
    testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
