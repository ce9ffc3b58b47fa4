#include "foundation/LWBundleAdditions.h"

#include "foundation/LWBundle.h"

namespace {
QString infoString(const char* key) {
    const QVariant value =
        LWBundle::mainBundle().objectForInfoDictionaryKey(QString::fromLatin1(key));
    return value.isValid() ? value.toString() : QString();
}
} // namespace

QString lw::applicationName() {
    return infoString("CFBundleName");
}

QString lw::applicationShortVersionString() {
    return infoString("CFBundleShortVersionString");
}

QString lw::applicationBundleVersion() {
    return infoString("CFBundleVersion");
}
