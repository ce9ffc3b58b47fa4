// Qt's threads, wait conditions and raster thread pool synchronise inside Qt's
// libraries, which are not built with ThreadSanitizer: their hand-overs look
// like races there. Races in our own frames are still reported. Read only
// under ThreadSanitizer.
extern "C" const char* __tsan_default_suppressions() {
    return "race:libQt6Core.so\n"
           "race:libQt6Gui.so\n"
           "race:libglib-2.0.so\n";
}
