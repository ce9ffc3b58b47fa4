#pragma once

#include "ui/LWToolbarSeparatorView.h"

// The separator for the top edge of an area.
class LWFlippedToolbarSeparatorView : public LWToolbarSeparatorView {
    Q_OBJECT

public:
    using LWToolbarSeparatorView::LWToolbarSeparatorView;
    bool isFlipped() const override { return true; }
};
