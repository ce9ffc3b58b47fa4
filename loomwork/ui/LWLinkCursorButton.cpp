#include "ui/LWLinkCursorButton.h"

LWLinkCursorButton::LWLinkCursorButton(QWidget* parent) : QPushButton(parent) {
    setCursor(Qt::PointingHandCursor);
}

LWLinkCursorButton::LWLinkCursorButton(const QString& text, QWidget* parent)
    : QPushButton(text, parent) {
    setCursor(Qt::PointingHandCursor);
}
