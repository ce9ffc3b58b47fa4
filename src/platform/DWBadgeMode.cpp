#include "platform/DWBadgeMode.h"

#include "foundation/LWPreferences.h"
#include "logging/LWLogger.h"

#include <QStringList>
#include <optional>

#pragma push_macro("signals")
#undef signals
#include <gio/gio.h>
#pragma pop_macro("signals")

namespace {
// File managers by the start of their desktop id (lower case). Those that draw
// custom icons get pictures, which stay readable at every zoom.
const std::pair<const char*, DWBadgeMode::Mode> fileManagers[] = {
    {"org.gnome.nautilus", DWBadgeMode::Picture},
    {"nautilus", DWBadgeMode::Picture},
    {"nemo", DWBadgeMode::Picture},
    {"caja", DWBadgeMode::Picture},
    {"thunar", DWBadgeMode::Emblem},
    {"org.xfce.thunar", DWBadgeMode::Emblem},
    {"pcmanfm", DWBadgeMode::Emblem},
    {"org.kde.dolphin", DWBadgeMode::Emblem},
    {"dolphin", DWBadgeMode::Emblem},
};
// Desktops by their XDG_CURRENT_DESKTOP name (lower case), for a default file
// manager we don't know.
const std::pair<const char*, DWBadgeMode::Mode> desktops[] = {
    {"gnome", DWBadgeMode::Picture},    {"unity", DWBadgeMode::Picture},
    {"budgie", DWBadgeMode::Picture},   {"x-cinnamon", DWBadgeMode::Picture},
    {"cinnamon", DWBadgeMode::Picture}, {"mate", DWBadgeMode::Picture},
    {"xfce", DWBadgeMode::Emblem},      {"lxde", DWBadgeMode::Emblem},
    {"lxqt", DWBadgeMode::Emblem},      {"kde", DWBadgeMode::Emblem},
};

std::optional<DWBadgeMode::Mode> modeNamed(const QString& name) {
    if (name == QLatin1String("picture"))
        return DWBadgeMode::Picture;
    if (name == QLatin1String("emblem"))
        return DWBadgeMode::Emblem;
    return std::nullopt;
}

std::optional<DWBadgeMode::Mode> modeForFileManager(const QString& id) {
    const QString lower = id.toLower();
    for (const auto& [start, mode] : fileManagers) {
        if (lower.startsWith(QLatin1String(start)))
            return mode;
    }
    return std::nullopt;
}

std::optional<DWBadgeMode::Mode> modeForDesktop(const QString& currentDesktop) {
    for (const QString& desktop : currentDesktop.toLower().split(QLatin1Char(':'))) {
        for (const auto& [name, mode] : desktops) {
            if (desktop == QLatin1String(name))
                return mode;
        }
    }
    return std::nullopt;
}
} // namespace

DWBadgeMode::Mode DWBadgeMode::choose(const QString& preference, const QString& fileManagerId,
                                      const QString& currentDesktop) {
    if (const auto mode = modeNamed(preference))
        return *mode;
    if (const auto mode = modeForFileManager(fileManagerId))
        return *mode;
    return modeForDesktop(currentDesktop).value_or(Picture);
}

DWBadgeMode::Mode DWBadgeMode::forThisSession() {
    const QString preference =
        LWPreferences::standard().objectForKey(QLatin1String(kPreferenceKey)).toString();
    const QString fileManager = defaultFileManagerId();
    const QString desktop = qEnvironmentVariable("XDG_CURRENT_DESKTOP");
    const Mode mode = choose(preference, fileManager, desktop);
    LW_LOG(3, "+[DWBadgeMode forThisSession]",
           QStringLiteral("Badges as %1 (preference \"%2\", file manager \"%3\", desktop \"%4\")")
               .arg(name(mode), preference, fileManager, desktop));
    return mode;
}

QString DWBadgeMode::name(Mode mode) {
    return mode == Emblem ? QStringLiteral("emblem") : QStringLiteral("picture");
}

QString DWBadgeMode::defaultFileManagerId() {
    GAppInfo* info = g_app_info_get_default_for_type("inode/directory", FALSE);
    if (!info)
        return QString();
    const QString id = QString::fromUtf8(g_app_info_get_id(info));
    g_object_unref(info);
    return id;
}
