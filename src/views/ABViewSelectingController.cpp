#include "views/ABViewSelectingController.h"

#include "foundation/LWPreferences.h"
#include "logging/LWLogger.h"
#include "views/DWNamedImage.h"
#include "views/DWPointyButton.h"

#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QRandomGenerator>
#include <QUiLoader>
#include <QVBoxLayout>

namespace {
const QString variationKey = QStringLiteral("abviewVariation");

// The designs' link buttons are our own pointing-hand buttons, which the
// stock loader doesn't know.
class _ABViewLoader : public QUiLoader {
public:
    QWidget* createWidget(const QString& className, QWidget* parent, const QString& name) override {
        if (className != QLatin1String("DWPointyButton"))
            return QUiLoader::createWidget(className, parent, name);
        auto* button = new DWPointyButton(parent);
        button->setObjectName(name);
        return button;
    }
};
} // namespace

QStringList ABViewSelectingController::variations() {
    return {QStringLiteral("WFLogo"), QStringLiteral("ThreeAppIcons"),
            QStringLiteral("GreenWallpaperShelf")};
}

QString ABViewSelectingController::_decideOnVariation(const std::function<quint32()>& random) {
    LWPreferences preferences = LWPreferences::standard();
    if (preferences.contains(variationKey))
        return preferences.stringForKey(variationKey);
    const QStringList names = variations();
    const quint32 number = random ? random() : QRandomGenerator::system()->generate();
    const QString choice = names[qsizetype(number % quint32(names.size()))];
    preferences.setObject(variationKey, choice);
    return choice;
}

ABViewSelectingController::ABViewSelectingController(QObject* parent) : QObject(parent) {
    const QString variation = _decideOnVariation();
    if (loadView(variation))
        setChosenVariation(variation);
    else
        showPlaceholder();
}

ABViewSelectingController::~ABViewSelectingController() {
    if (_view && !_view->parent())
        delete _view;
}

bool ABViewSelectingController::loadView(const QString& variation) {
    const QString path = QStringLiteral(":/abviews/%1.ui").arg(variation);
    QFile file(path);
    if (variation.isEmpty() || variation.contains(QLatin1Char('/')) ||
        !file.open(QIODevice::ReadOnly)) {
        LW_LOG(1, "-[ABViewSelectingController init]",
               QStringLiteral("No view definition for the variation '%1'; showing nothing")
                   .arg(variation));
        return false;
    }
    _ABViewLoader loader;
    QWidget* view = loader.load(&file);
    file.seek(0);
    DWNamedImage::picturesThatDoNotLoad(QString::fromUtf8(file.readAll()));
    if (!view) {
        LW_LOG(1, "-[ABViewSelectingController init]",
               QStringLiteral("Can't load the view definition '%1': %2")
                   .arg(variation, loader.errorString()));
        return false;
    }
    auto* label = view->findChild<QLabel*>(QStringLiteral("label"));
    auto* button = view->findChild<QAbstractButton*>(QStringLiteral("button"));
    if (!label || !button) {
        LW_LOG(1, "-[ABViewSelectingController init]",
               QStringLiteral("The view definition '%1' lacks its label or button").arg(variation));
        delete view;
        return false;
    }
    _view = view;
    _label = label;
    _button = button;
    return true;
}

void ABViewSelectingController::showPlaceholder() {
    // The application colours the label and enables the button whatever the
    // design; hidden stand-ins let it do so on an empty view.
    auto* placeholder = new QWidget;
    placeholder->setObjectName(QStringLiteral("ABViewPlaceholder"));
    auto* layout = new QVBoxLayout(placeholder);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* label = new QLabel(placeholder);
    auto* button = new QPushButton(placeholder);
    label->hide();
    button->hide();
    _view = placeholder;
    _label = label;
    _button = button;
}

QString ABViewSelectingController::chosenVariation() const {
    QMutexLocker locker(&_variationLock);
    return _chosenVariation;
}

void ABViewSelectingController::setChosenVariation(const QString& variation) {
    QMutexLocker locker(&_variationLock);
    _chosenVariation = variation;
}
