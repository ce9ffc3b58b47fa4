#pragma once

#include <QString>

// How badges reach the file manager, chosen once per desktop:
// - Picture: the file's custom icon is a copy of its icon with the badge on it
//   (file managers that draw "metadata::custom-icon");
// - Emblem: the file carries the emblem of its count, an icon Dotwise draws
//   into the user's icon theme (file managers that only draw
//   "metadata::emblems", and Dolphin through the overlay plugin).
// File managers that draw both would show two badges, so only one is used.
class DWBadgeMode {
public:
    enum Mode { Picture, Emblem };

    // The preference that overrides the choice: "picture" or "emblem";
    // anything else (or nothing) chooses by the desktop.
    static constexpr const char* kPreferenceKey = "BadgeMode";

    // The mode for the user's default file manager (the desktop id of the
    // inode/directory handler, e.g. "thunar.desktop"), else for the desktop
    // named in XDG_CURRENT_DESKTOP (colon-separated), unless `preference`
    // names one. Unknown desktops get pictures.
    static Mode choose(const QString& preference, const QString& fileManagerId,
                       const QString& currentDesktop);
    // The same with the preference, the default file manager (GIO) and the
    // environment of this session; logs what was chosen and why.
    static Mode forThisSession();

    static QString name(Mode mode);
    // The desktop id of the default handler of folders, or empty.
    static QString defaultFileManagerId();
};
