#include <QApplication>

#include <gtest/gtest.h>

#include <cstdio>
#include <thread>

/// Windows live on the main thread, tests on one beside it.
int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    // Discovering the tests must work without a display.
    if (testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS();
    // The user's desktop may have choosers of its own, which no test can type into.
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication application(argc, argv);
    if (QGuiApplication::platformName() == QLatin1String("offscreen")) {
        std::fprintf(stderr, "These tests open real windows; they need a display.\n");
        return 2;
    }
    QApplication::setQuitOnLastWindowClosed(false);
    int result = 1;
    std::thread tests([&] {
        result = RUN_ALL_TESTS();
        QMetaObject::invokeMethod(qApp, &QApplication::quit, Qt::QueuedConnection);
    });
    QApplication::exec();
    tests.join();
    return result;
}
