#include "views/DWPointyButton.h"

DWPointyButton::DWPointyButton(QWidget* parent) : QPushButton(parent) {
    setCursor(Qt::PointingHandCursor);
}

DWPointyButton::DWPointyButton(const QString& text, QWidget* parent) : QPushButton(text, parent) {
    setCursor(Qt::PointingHandCursor);
}
