#pragma once

#include <QPushButton>

// A button that shows the pointing-hand cursor over its whole area, as links
// do.
class LWLinkCursorButton : public QPushButton {
    Q_OBJECT

public:
    explicit LWLinkCursorButton(QWidget* parent = nullptr);
    explicit LWLinkCursorButton(const QString& text, QWidget* parent = nullptr);
};
