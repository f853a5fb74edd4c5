#include "app/SafeApplication.h"
#include "app/Startup.h"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    ::testing::InitGoogleTest(&argc, argv);
    Tessaly::SafeApplication application(argc, argv);
    Tessaly::prepareApplication(application);
    return RUN_ALL_TESTS();
}
