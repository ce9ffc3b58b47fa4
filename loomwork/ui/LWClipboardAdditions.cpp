#include "ui/LWClipboardAdditions.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

void lw::writeToClipboard(const QString& string) {
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (!clipboard)
        return;
    // Only plain text: whatever else the clipboard held is dropped.
    auto* data = new QMimeData();
    data->setText(string);
    clipboard->setMimeData(data, QClipboard::Clipboard);
}
