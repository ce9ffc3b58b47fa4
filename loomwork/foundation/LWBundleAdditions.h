#pragma once

#include <QString>

// The running application's main bundle information; each a null string when
// the key is absent.
namespace lw {
QString applicationName();               // "CFBundleName"
QString applicationShortVersionString(); // "CFBundleShortVersionString"
QString applicationBundleVersion();      // "CFBundleVersion"
} // namespace lw
