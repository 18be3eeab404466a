#include "RelayToken.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <cerrno>
#include <cstring>

#include <unistd.h>

#include <stdexcept>

namespace mintbridge {

QString RelayToken::generate()
{
    QByteArray bytes(32, Qt::Uninitialized);
    QRandomGenerator::system()->generate(bytes.begin(), bytes.end());
    return QString::fromLatin1(bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

QString RelayToken::loadOrCreate(const QString& path)
{
    const auto readExisting = [&path]() -> QString {
        QFile existing(path);
        if (!existing.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(existing.readAll()).trimmed();
    };
    if (const QString token = readExisting(); !token.isEmpty()) {
        // A copy someone loosened is made private again.
        QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        return token;
    }

    const QString folder = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(folder))
        throw std::runtime_error("cannot create " + folder.toStdString());
    QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);

    // Written aside, then linked into place: of two first starts at once (the server and
    // `mintbridge token`) exactly one token wins, and both report that one.
    const QString token = generate();
    const QString aside = path + QStringLiteral(".new-") + generate().left(8);
    {
        QFile file(aside);
        if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
            throw std::runtime_error("cannot write " + aside.toStdString() + ": " + file.errorString().toStdString());
        file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        file.write(token.toUtf8() + '\n');
        if (!file.flush()) {
            file.remove();
            throw std::runtime_error("cannot write " + aside.toStdString());
        }
    }
    const QByteArray asideName = QFile::encodeName(aside);
    const QByteArray finalName = QFile::encodeName(path);
    if (::link(asideName.constData(), finalName.constData()) == 0) {
        ::unlink(asideName.constData());
        return token;
    }
    const int linkError = errno;
    if (linkError == EEXIST) {
        if (const QString winner = readExisting(); !winner.isEmpty()) {
            ::unlink(asideName.constData());
            return winner;
        }
        // A blank file stands there: replace it.
        if (::rename(asideName.constData(), finalName.constData()) == 0)
            return token;
    }
    ::unlink(asideName.constData());
    throw std::runtime_error("cannot write " + path.toStdString() + ": " + std::strerror(linkError));
}

bool RelayToken::matches(const QString& presented, const QString& expected)
{
    const QByteArray a = presented.toUtf8();
    const QByteArray b = expected.toUtf8();
    if (b.isEmpty())
        return false;
    // Every byte of the expected token is looked at, whatever the presented length.
    unsigned difference = unsigned(a.size() ^ b.size());
    for (qsizetype i = 0; i < b.size(); ++i) {
        const char presentedByte = i < a.size() ? a.at(i) : char(0);
        difference |= unsigned(static_cast<unsigned char>(presentedByte ^ b.at(i)));
    }
    return difference == 0;
}

} // namespace mintbridge
