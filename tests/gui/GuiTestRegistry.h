#pragma once

#include <QObject>
#include <QString>

#include <functional>
#include <map>
#include <memory>

// The widget test classes of the one widget test program, by name, so that
// each runs as a test of its own: `gui_tests MainWindowTest [QtTest options]`.
namespace GuiTestRegistry {

using Factory = std::function<std::unique_ptr<QObject>()>;

std::map<QString, Factory>& classes();

// Registers a class at program start (see NIMBREL_GUI_TEST).
struct Entry {
    Entry(const char* name, Factory factory) { classes().emplace(QString::fromLatin1(name), std::move(factory)); }
};

}  // namespace GuiTestRegistry

// Ends a widget test file in place of QTEST_MAIN.
#define NIMBREL_GUI_TEST(TestClass)                                                                 \
    static const GuiTestRegistry::Entry registered##TestClass(#TestClass,                          \
                                                              [] { return std::make_unique<TestClass>(); });
