#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#ifdef DW_TEST_GUI
#include <QApplication>
using TestApplication = QApplication;
#else
#include <QCoreApplication>
using TestApplication = QCoreApplication;
#endif

// Qt's threads, wait conditions and raster thread pool, and GLib's worker
// threads, synchronise inside libraries that are not built with
// ThreadSanitizer, so their hand-overs look like races. Races in our own frames
// are still reported. Read only under ThreadSanitizer.
extern "C" const char* __tsan_default_suppressions() {
    return "race:libQt6Core.so\n"
           "race:libQt6Gui.so\n"
           "race:libglib-2.0.so\n"
           "race:libgio-2.0.so\n";
}

int main(int argc, char* argv[]) {
    dwtest::isolateUserFolders();
    ::testing::InitGoogleTest(&argc, argv);
    TestApplication app(argc, argv);
    TestApplication::setOrganizationName(QStringLiteral("Wrenfield"));
    TestApplication::setApplicationName(QStringLiteral("Dotwise"));
    return RUN_ALL_TESTS();
}
