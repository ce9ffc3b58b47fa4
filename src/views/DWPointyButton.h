#pragma once

#include "ui/LWLinkCursorButton.h"

// The app's name for the library's pointing-hand button, the class its
// promotional .ui designs name.
class DWPointyButton : public LWLinkCursorButton {
    Q_OBJECT

public:
    using LWLinkCursorButton::LWLinkCursorButton;
};
