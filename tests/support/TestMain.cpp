#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#ifdef DW_TEST_GUI
#include <QApplication>
using TestApplication = QApplication;
#else
#include <QCoreApplication>
using TestApplication = QCoreApplication;
#endif

int main(int argc, char* argv[]) {
    dwtest::isolateUserFolders();
    ::testing::InitGoogleTest(&argc, argv);
    TestApplication app(argc, argv);
    TestApplication::setOrganizationName(QStringLiteral("Wrenfield"));
    TestApplication::setApplicationName(QStringLiteral("Dotwise"));
    return RUN_ALL_TESTS();
}
