#pragma once

#include <QPushButton>

// A push button that shows the pointing-hand cursor while the mouse is over it,
// for buttons that read as links.
class DWPointyButton : public QPushButton {
    Q_OBJECT

public:
    explicit DWPointyButton(QWidget* parent = nullptr);
    explicit DWPointyButton(const QString& text, QWidget* parent = nullptr);
};
