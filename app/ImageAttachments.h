#pragma once

#include <QObject>
#include <QUrl>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

// The images waiting in the composer: picked from files, shrunk to a size the agent takes,
// each with a small thumbnail for the message list.
class ImageAttachments : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QVariantList items READ items NOTIFY itemsChanged)
    Q_PROPERTY(int count READ count NOTIFY itemsChanged)
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)

public:
    static constexpr int maxSide = 1600;
    static constexpr int thumbnailSide = 160;

    explicit ImageAttachments(QObject* parent = nullptr);

    // Each: name, thumbnailUrl (a data: URL).
    QVariantList items() const;
    int count() const { return int(m_images.size()); }
    const QString& error() const { return m_error; }

    // Adds the images among the files; one that does not read as an image is named in `error`.
    Q_INVOKABLE void addFiles(const QList<QUrl>& files);
    Q_INVOKABLE bool addFile(const QUrl& file);
    Q_INVOKABLE void remove(int index);
    Q_INVOKABLE void clear();
    // What the chat store sends: mediaType, base64, thumbnail (PNG bytes).
    Q_INVOKABLE QVariantList forSubmission() const;

signals:
    void itemsChanged();
    void errorChanged();

private:
    struct Image {
        QString name;
        QString mediaType;
        QByteArray encoded;
        QByteArray thumbnail;
    };

    void setError(const QString& value);

    std::vector<Image> m_images;
    QString m_error;
};
