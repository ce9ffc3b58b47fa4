#include "cli/DWBadgeCommand.h"

#include "cli/DWCommandLine.h"
#include "platform/DWLinuxWorkspace.h"
#include "views/DWBadgeImage.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImageReader>
#include <QTextStream>
#include <optional>
#include <variant>

namespace {
constexpr qreal kDefaultSide = 128;
constexpr qreal kMaxSide = 4096;
constexpr int kUsageError = 2;
constexpr int kRunError = 1;

// What the command line asked for. New ways of getting the icon to badge (a
// file's own icon, say) add a field here, an option in parse() and a branch in
// execute() that builds an LWIconImage for writeComposed().
struct Options {
    int count = 0;
    std::optional<qreal> side;
    bool shadow = false;
    bool compose = false;
    QString file; // badge this file's own icon
    QStringList images;
    QString output;
};

std::variant<Options, QString> parse(const QStringList& arguments) {
    QCommandLineParser parser;
    const QCommandLineOption countOption(QStringLiteral("count"),
                                         DWBadgeCommand::tr("The number on the badge."),
                                         QStringLiteral("N"));
    const QCommandLineOption sizeOption(QStringLiteral("size"),
                                        DWBadgeCommand::tr("Badge side in points (default 128)."),
                                        QStringLiteral("S"));
    const QCommandLineOption shadowOption(QStringLiteral("shadow"),
                                          DWBadgeCommand::tr("Draw the drop shadow."));
    const QCommandLineOption composeOption(
        QStringLiteral("compose"), DWBadgeCommand::tr("Compose the badge onto the given images."));
    const QCommandLineOption outputOption(
        {QStringLiteral("o"), QStringLiteral("output")},
        DWBadgeCommand::tr("The PNG to write, or the folder for --compose."),
        QStringLiteral("PATH"));
    const QCommandLineOption fileOption(
        QStringLiteral("file"), DWBadgeCommand::tr("Compose the badge onto this file's icon."),
        QStringLiteral("PATH"));
    parser.addOptions(
        {countOption, sizeOption, shadowOption, composeOption, fileOption, outputOption});
    if (!parser.parse(arguments))
        return parser.errorText();

    Options options;
    if (!parser.isSet(countOption))
        return DWBadgeCommand::tr("--count N is required");
    bool ok = false;
    options.count = parser.value(countOption).toInt(&ok);
    if (!ok)
        return DWBadgeCommand::tr("--count wants a whole number, not '%1'")
            .arg(parser.value(countOption));

    if (parser.isSet(sizeOption)) {
        const qreal side = parser.value(sizeOption).toDouble(&ok);
        if (!ok || !(side >= 1) || side > kMaxSide)
            return DWBadgeCommand::tr("--size wants a number of points from 1 to %1, not '%2'")
                .arg(kMaxSide)
                .arg(parser.value(sizeOption));
        options.side = side;
    }
    options.shadow = parser.isSet(shadowOption);
    options.compose = parser.isSet(composeOption);
    options.file = parser.value(fileOption);
    options.images = parser.positionalArguments();
    options.output = parser.value(outputOption);

    if (options.output.isEmpty())
        return DWBadgeCommand::tr("-o is required");
    if (parser.isSet(fileOption)) {
        if (options.file.isEmpty())
            return DWBadgeCommand::tr("--file needs a path");
        if (options.compose || !options.images.isEmpty())
            return DWBadgeCommand::tr("--file takes the icon from the file: no images to compose");
        if (options.side || options.shadow)
            return DWBadgeCommand::tr("--size and --shadow do not apply to --file: the badge is "
                                      "sized for each image");
    } else if (options.compose) {
        if (options.images.isEmpty())
            return DWBadgeCommand::tr("--compose needs at least one image");
        if (options.side || options.shadow)
            return DWBadgeCommand::tr("--size and --shadow do not apply to --compose: the badge is "
                                      "sized for each image");
    } else if (!options.images.isEmpty()) {
        return DWBadgeCommand::tr("unexpected argument '%1' (images go after --compose)")
            .arg(options.images.first());
    }
    return options;
}

QString pointText(qreal points) {
    return QString::number(points, 'g', 6);
}

// "icon-128.png", "icon-128@2x.png"; a repeated size gets "-2", "-3", ...
QString fileNameFor(const LWIconImage::Representation& representation, QStringList& used) {
    const qreal scale = representation.image.devicePixelRatio();
    QString base = QStringLiteral("icon-") + pointText(representation.size.width());
    if (scale != 1.0)
        base += QStringLiteral("@%1x").arg(pointText(scale));
    QString name = base + QStringLiteral(".png");
    for (int n = 2; used.contains(name); ++n)
        name = QStringLiteral("%1-%2.png").arg(base).arg(n);
    used.append(name);
    return name;
}

int writeComposed(const LWIconImage& icon, int count, const QString& folder, QTextStream& out,
                  QTextStream& err) {
    if (!QDir().mkpath(folder)) {
        err << DWBadgeCommand::tr("dotwise badge: cannot create the folder '%1'\n").arg(folder);
        return kRunError;
    }
    const LWIconImage badged = DWBadgeImage::addBadgeTo(icon, count);
    QStringList used;
    for (const LWIconImage::Representation& representation : badged.representations()) {
        const QString path = QDir(folder).filePath(fileNameFor(representation, used));
        if (!representation.image.save(path, "PNG")) {
            err << DWBadgeCommand::tr("dotwise badge: cannot write '%1'\n").arg(path);
            return kRunError;
        }
        out << path << '\n';
    }
    return 0;
}

std::optional<LWIconImage> readIcon(const QStringList& paths, QTextStream& err) {
    LWIconImage icon;
    for (const QString& path : paths) {
        QImageReader reader(path);
        const QImage image = reader.read();
        if (image.isNull()) {
            err << DWBadgeCommand::tr("dotwise badge: cannot read the image '%1': %2\n")
                       .arg(path, reader.errorString());
            return std::nullopt;
        }
        if (image.width() > DWBadgeImage::kMaxPixelSide ||
            image.height() > DWBadgeImage::kMaxPixelSide) {
            err << DWBadgeCommand::tr(
                       "dotwise badge: the image '%1' is larger than %2 pixels a side\n")
                       .arg(path, QString::number(DWBadgeImage::kMaxPixelSide));
            return std::nullopt;
        }
        icon.addRepresentation(image);
    }
    return icon;
}
} // namespace

const char* DWBadgeCommand::synopsis() {
    return "badge --count N [--size S] [--shadow] -o OUT.png\n"
           "       dotwise badge --count N --compose ICON.png... -o DIR\n"
           "       dotwise badge --count N --file PATH -o DIR";
}

int DWBadgeCommand::run(int argc, char* argv[]) {
    // Drawing text needs a QGuiApplication; the offscreen platform gives one
    // without a display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    DWCommandLine::setUpApplication();
    QTextStream out(stdout);
    QTextStream err(stderr);
    return execute(QGuiApplication::arguments(), out, err);
}

int DWBadgeCommand::execute(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    const auto parsed = parse(arguments);
    if (const QString* error = std::get_if<QString>(&parsed)) {
        err << tr("dotwise badge: %1\nUsage: dotwise %2\n")
                   .arg(*error, QString::fromUtf8(synopsis()));
        return kUsageError;
    }
    const Options& options = std::get<Options>(parsed);

    if (!options.file.isEmpty()) {
        if (!QFileInfo::exists(options.file)) {
            err << tr("dotwise badge: there is no file '%1'\n").arg(options.file);
            return kRunError;
        }
        // The icon the file manager shows for the file; the file itself is
        // only looked at, never changed.
        const DWLinuxWorkspace workspace;
        return writeComposed(workspace.iconForFile(options.file), options.count, options.output,
                             out, err);
    }
    if (options.compose) {
        const std::optional<LWIconImage> icon = readIcon(options.images, err);
        if (!icon)
            return kRunError;
        return writeComposed(*icon, options.count, options.output, out, err);
    }

    const qreal side = options.side.value_or(kDefaultSide);
    const DWBadgeImage badge(QSizeF(side, side), options.count, options.shadow);
    if (badge.isNull()) {
        err << tr("dotwise badge: cannot make a badge of %1 points\n").arg(side);
        return kRunError;
    }
    if (!badge.image().save(options.output, "PNG")) {
        err << tr("dotwise badge: cannot write '%1'\n").arg(options.output);
        return kRunError;
    }
    out << options.output << '\n';
    return 0;
}
