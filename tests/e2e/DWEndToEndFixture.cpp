// Helper for the end-to-end scripts: sets up and reads back what the running
// application keeps, and checks badge pictures, so that the scripts need no
// knowledge of the archive format or of image files.
//
//   dw_e2e_fixture store-task-lists FILE...      "TaskLists" as the app saves it
//   dw_e2e_fixture stored-task-lists             one stored path per line
//   dw_e2e_fixture launch-at-login PROGRAM on|off
//   dw_e2e_fixture first-run-done                 a returning user: no example offer
//   dw_e2e_fixture switch-centre WIDTH HEIGHT
//       where the ON/OFF switch's centre lies in a main window of that size,
//       as "X Y" (the window's own form laid out off screen)
//   dw_e2e_fixture check-badge ACTUAL.png REFERENCE_DIR
//       ACTUAL.png must show the badge disc and equal, pixel for pixel, the
//       largest picture in REFERENCE_DIR (what `dotwise badge --file` wrote)

#include "foundation/LWPreferences.h"
#include "model/DWTaskList.h"
#include "model/DWTaskRuleSet.h"
#include "platform/DWAutostartLaunchAtLoginController.h"
#include "ui_DWMainWindow.h"

#include <QApplication>
#include <QColor>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QMainWindow>
#include <QUrl>
#include <QtMath>
#include <cstdio>

namespace {
const QString taskListsKey = QStringLiteral("TaskLists");

int fail(const QString& message) {
    std::fprintf(stderr, "dw_e2e_fixture: %s\n", qPrintable(message));
    return 1;
}

QString sizeText(QSize size) {
    return QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
}

// Written to disk at once: the app reads the settings file when it starts.
int store(const QString& key, const QVariant& value) {
    LWPreferences preferences = LWPreferences::standard();
    preferences.setObject(key, value);
    preferences.synchronize();
    return 0;
}

int storeTaskLists(const QStringList& files) {
    QList<std::shared_ptr<DWTaskList>> taskLists;
    for (const QString& file : files) {
        const QString path = QFileInfo(file).absoluteFilePath();
        taskLists.append(std::make_shared<DWTaskList>(path, DWTaskRuleSet::bestMatchFor(path)));
    }
    return store(taskListsKey, DWTaskList::archiveTaskLists(taskLists));
}

int printStoredTaskLists() {
    const QByteArray archive = LWPreferences::standard().dataForKey(taskListsKey);
    if (archive.isEmpty())
        return 0;
    QString error;
    const auto taskLists = DWTaskList::unarchiveTaskLists(archive, &error);
    if (!taskLists)
        return fail(QStringLiteral("\"TaskLists\" can't be read: %1").arg(error));
    for (const auto& taskList : *taskLists)
        std::printf("%s\n", qPrintable(taskList->path()));
    return 0;
}

int setLaunchAtLogin(const QString& program, const QString& state) {
    const bool on = state == QLatin1String("on");
    if (!on && state != QLatin1String("off"))
        return fail(QStringLiteral("launch-at-login wants on or off, not '%1'").arg(state));
    const QUrl url = QUrl::fromLocalFile(QFileInfo(program).canonicalFilePath());
    DWAutostartLaunchAtLoginController controller;
    controller.setLaunchAtLogin(url, on);
    if (controller.willLaunchAtLogin(url) != on)
        return fail(
            QStringLiteral("the autostart entry for %1 did not become %2").arg(program, state));
    return 0;
}

// The switch's place depends on the form's margins and on how the heading
// beside it wraps, so the form itself is asked rather than numbers copied.
int printSwitchCentre(const QString& width, const QString& height) {
    bool wide = false, high = false;
    const QSize size(width.toInt(&wide), height.toInt(&high));
    if (!wide || !high || size.isEmpty())
        return fail(
            QStringLiteral("switch-centre wants a window size, not '%1 %2'").arg(width, height));
    QMainWindow window;
    Ui::DWMainWindow form;
    form.setupUi(&window);
    window.resize(size);
    window.setAttribute(Qt::WA_DontShowOnScreen);
    window.show();
    QApplication::processEvents();
    if (window.size() != size)
        return fail(QStringLiteral("the main window can't be %1 (it became %2)")
                        .arg(sizeText(size), sizeText(window.size())));
    const QPoint centre =
        form.onOffSwitchView->mapTo(&window, form.onOffSwitchView->rect().center());
    std::printf("%d %d\n", centre.x(), centre.y());
    return 0;
}

// The badge's disc, lower half (no gloss there): the colour of the disc and
// nothing of the number, which stays inside three quarters of the radius.
QString discProblem(const QImage& image) {
    const qreal side = std::floor(image.width() * 0.4);
    const QPointF centre(image.width() - side / 2, side / 2);
    const qreal radius = side / 2;
    for (int degrees : {20, 50, 90, 130, 160}) {
        const qreal angle = qDegreesToRadians(qreal(degrees));
        const QPoint at =
            (centre + QPointF(std::cos(angle), std::sin(angle)) * radius * 0.87).toPoint();
        const QColor colour = image.pixelColor(at);
        if (colour.alpha() < 250 || colour.red() < 150 || colour.green() > 60 || colour.blue() > 70)
            return QStringLiteral("expected the red badge disc at (%1,%2) of a %3 icon, saw %4")
                .arg(at.x())
                .arg(at.y())
                .arg(sizeText(image.size()), colour.name(QColor::HexArgb));
    }
    return QString();
}

int checkBadge(const QString& actualPath, const QString& referenceFolder) {
    QImage actual(actualPath);
    if (actual.isNull())
        return fail(QStringLiteral("the custom icon %1 is not a readable image").arg(actualPath));
    // The application writes the largest representation of the badged icon.
    QImage expected;
    QString expectedPath;
    const QDir folder(referenceFolder);
    for (const QString& name : folder.entryList({QStringLiteral("*.png")}, QDir::Files)) {
        QImage candidate(folder.filePath(name));
        if (candidate.width() > expected.width()) { // the icons are square
            expected = candidate;
            expectedPath = folder.filePath(name);
        }
    }
    if (expected.isNull())
        return fail(QStringLiteral("no reference badge in %1").arg(referenceFolder));
    const QString disc = discProblem(actual);
    if (!disc.isEmpty())
        return fail(QStringLiteral("%1: %2").arg(actualPath, disc));
    if (actual.size() != expected.size())
        return fail(
            QStringLiteral("%1 is %2, the reference %3 is %4")
                .arg(actualPath, sizeText(actual.size()), expectedPath, sizeText(expected.size())));
    actual = actual.convertToFormat(QImage::Format_ARGB32);
    expected = expected.convertToFormat(QImage::Format_ARGB32);
    int differing = 0, largest = 0;
    for (int y = 0; y < actual.height(); ++y)
        for (int x = 0; x < actual.width(); ++x) {
            const QRgb a = actual.pixel(x, y), e = expected.pixel(x, y);
            const int difference =
                std::max({std::abs(qRed(a) - qRed(e)), std::abs(qGreen(a) - qGreen(e)),
                          std::abs(qBlue(a) - qBlue(e)), std::abs(qAlpha(a) - qAlpha(e))});
            differing += difference > 0;
            largest = std::max(largest, difference);
        }
    if (differing > 0)
        return fail(QStringLiteral("%1 differs from the reference badge %2 in %3 of %4 pixels "
                                   "(by up to %5 of 255)")
                        .arg(actualPath, expectedPath)
                        .arg(differing)
                        .arg(actual.width() * actual.height())
                        .arg(largest));
    return 0;
}

} // namespace

int main(int argc, char* argv[]) {
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    // Widgets lay out the form for the switch's place; none needs a display.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QString command = arguments.isEmpty() ? QString() : arguments.takeFirst();
    if (command == QLatin1String("store-task-lists"))
        return storeTaskLists(arguments);
    if (command == QLatin1String("stored-task-lists") && arguments.isEmpty())
        return printStoredTaskLists();
    if (command == QLatin1String("launch-at-login") && arguments.size() == 2)
        return setLaunchAtLogin(arguments[0], arguments[1]);
    if (command == QLatin1String("first-run-done") && arguments.isEmpty())
        return store(QStringLiteral("DidCreateExampleData"), true);
    if (command == QLatin1String("switch-centre") && arguments.size() == 2)
        return printSwitchCentre(arguments[0], arguments[1]);
    if (command == QLatin1String("check-badge") && arguments.size() == 2)
        return checkBadge(arguments[0], arguments[1]);
    return fail(QStringLiteral("unknown or incomplete command '%1'").arg(command));
}
