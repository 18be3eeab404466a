#include "ImageAttachments.h"

#include <QBuffer>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>

namespace {

QByteArray encode(const QImage& image, const char* format, int quality = -1)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format, quality);
    return bytes;
}

} // namespace

ImageAttachments::ImageAttachments(QObject* parent)
    : QObject(parent)
{
}

QVariantList ImageAttachments::items() const
{
    QVariantList out;
    for (const Image& image : m_images)
        out << QVariantMap { { QStringLiteral("name"), image.name },
            { QStringLiteral("thumbnailUrl"),
                QStringLiteral("data:image/png;base64,") + QString::fromLatin1(image.thumbnail.toBase64()) } };
    return out;
}

void ImageAttachments::setError(const QString& value)
{
    if (m_error == value)
        return;
    m_error = value;
    emit errorChanged();
}

void ImageAttachments::addFiles(const QList<QUrl>& files)
{
    QStringList unreadable;
    for (const QUrl& file : files) {
        if (!addFile(file))
            unreadable << QFileInfo(file.toLocalFile()).fileName();
    }
    setError(unreadable.isEmpty() ? QString()
                                  : QStringLiteral("无法读取图片：%1").arg(unreadable.join(QStringLiteral("、"))));
}

bool ImageAttachments::addFile(const QUrl& file)
{
    const QString path = file.isLocalFile() ? file.toLocalFile() : file.toString();
    QImageReader reader(path);
    reader.setAutoTransform(true);
    QImage image = reader.read();
    if (image.isNull()) {
        setError(QStringLiteral("无法读取图片：%1").arg(QFileInfo(path).fileName()));
        return false;
    }
    if (std::max(image.width(), image.height()) > maxSide)
        image = image.scaled(maxSide, maxSide, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    // Photos travel as JPEG; what has transparency (screenshots with it) stays PNG.
    const bool png = image.hasAlphaChannel();
    Image entry;
    entry.name = QFileInfo(path).fileName();
    entry.mediaType = png ? QStringLiteral("image/png") : QStringLiteral("image/jpeg");
    entry.encoded = png ? encode(image, "PNG") : encode(image, "JPEG", 85);
    entry.thumbnail
        = encode(image.scaled(thumbnailSide, thumbnailSide, Qt::KeepAspectRatio, Qt::SmoothTransformation), "PNG");
    m_images.push_back(std::move(entry));
    setError(QString());
    emit itemsChanged();
    return true;
}

void ImageAttachments::remove(int index)
{
    if (index < 0 || index >= count())
        return;
    m_images.erase(m_images.begin() + index);
    emit itemsChanged();
}

void ImageAttachments::clear()
{
    if (m_images.empty() && m_error.isEmpty())
        return;
    m_images.clear();
    setError(QString());
    emit itemsChanged();
}

QVariantList ImageAttachments::forSubmission() const
{
    QVariantList out;
    for (const Image& image : m_images)
        out << QVariantMap { { QStringLiteral("mediaType"), image.mediaType },
            { QStringLiteral("base64"), QString::fromLatin1(image.encoded.toBase64()) },
            { QStringLiteral("thumbnail"), image.thumbnail } };
    return out;
}
