#pragma once

// Groups layer changes. Inside a transaction whose actions are disabled,
// frame changes of layers take effect at once instead of animating. Nested
// transactions inherit the setting of the one around them. Main thread only.
class LWLayerTransaction {
public:
    static constexpr double defaultAnimationDuration = 0.25; // seconds

    static void begin();
    static void commit();
    static void setDisableActions(bool disable);
    static bool disableActions();
    // Open transactions; 0 outside any.
    static int depth();
};

// Opens a transaction in which implicit layer animations are off.
void LWBeginActionlessTransaction();
// Commits the current transaction.
void LWCommitTransaction();
