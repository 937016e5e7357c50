#pragma once

#include <QString>

// Modal message boxes, shown to the user by the application and recorded by
// tests. show() returns when the user has closed the box. It may be called
// from any thread; the application shows the box on the window thread.
class MessageBoxes {
public:
    enum class Icon { Critical, Exclamation, Information };

    virtual ~MessageBoxes() = default;
    virtual void show(const QString& title, const QString& text, Icon icon) = 0;
    // A question with OK and Cancel; true for OK.
    virtual bool askOkCancel(const QString& title, const QString& text) = 0;
};
