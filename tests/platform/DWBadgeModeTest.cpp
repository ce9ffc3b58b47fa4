#include "platform/DWBadgeMode.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(DWBadgeModeTest, PreferenceThenDefaultFileManagerThenDesktopDecide) {
    const auto picture = DWBadgeMode::Picture, emblem = DWBadgeMode::Emblem;
    const struct {
        QString preference, fileManager, desktop;
        DWBadgeMode::Mode mode;
    } cases[] = {
        {u""_s, u"org.gnome.Nautilus.desktop"_s, u"XFCE"_s, picture},
        {u""_s, u"nemo.desktop"_s, u""_s, picture},
        {u""_s, u"caja-folder-handler.desktop"_s, u"KDE"_s, picture},
        {u""_s, u"thunar.desktop"_s, u"GNOME"_s, emblem},
        {u""_s, u"pcmanfm-qt.desktop"_s, u""_s, emblem},
        {u""_s, u"org.kde.dolphin.desktop"_s, u""_s, emblem},
        // An unknown or missing handler: the desktop, any of its names.
        {u""_s, u"code.desktop"_s, u"ubuntu:GNOME"_s, picture},
        {u""_s, u""_s, u"X-Cinnamon"_s, picture},
        {u""_s, u""_s, u"LXQt"_s, emblem},
        {u""_s, u""_s, u"Hyprland"_s, picture},
        // The preference wins; a damaged one is ignored.
        {u"emblem"_s, u"org.gnome.Nautilus.desktop"_s, u"GNOME"_s, emblem},
        {u"picture"_s, u"thunar.desktop"_s, u"XFCE"_s, picture},
        {u"Emblems!"_s, u"thunar.desktop"_s, u""_s, emblem},
    };
    for (const auto& c : cases)
        EXPECT_EQ(DWBadgeMode::choose(c.preference, c.fileManager, c.desktop), c.mode)
            << "case " << &c - cases;
}
