#include "ui/QtClipboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

namespace ui {

namespace {
constexpr const char* LinkMimeType = "application/x-corvane-dde-link";
}

void QtClipboard::PutLink(const std::string& linkText, const std::string& plainText) {
    auto* data = new QMimeData;
    data->setData(LinkMimeType, QByteArray(linkText.data(), static_cast<qsizetype>(linkText.size())));
    data->setText(QString::fromLatin1(plainText.data(), static_cast<qsizetype>(plainText.size())));
    QGuiApplication::clipboard()->setMimeData(data);
}

std::optional<std::string> QtClipboard::Link() {
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    if (!data || !data->hasFormat(LinkMimeType))
        return std::nullopt;
    const QByteArray bytes = data->data(LinkMimeType);
    return std::string(bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

} // namespace ui
