#include "JsonCoding.h"

#include "SafeText.h"

#include <QJsonParseError>
#include <QVariant>

namespace wire {

DecodeError::DecodeError(QString field, QString problem)
    : m_field(std::move(field))
    , m_problem(std::move(problem))
    , m_what(description().toUtf8())
{
}

QString DecodeError::description() const
{
    if (m_field.isEmpty())
        return m_problem;
    return QStringLiteral("field '%1' %2").arg(m_field, m_problem);
}

QString joinPath(const QString& parent, const QString& key)
{
    return parent.isEmpty() ? key : parent + QLatin1Char('.') + key;
}

QString indexPath(const QString& parent, qsizetype index)
{
    return parent + QLatin1Char('[') + QString::number(index) + QLatin1Char(']');
}

ObjectReader::ObjectReader(const QJsonValue& value, QString path)
    : m_path(std::move(path))
{
    if (!value.isObject())
        throw DecodeError(m_path, QStringLiteral("must be an object"));
    m_object = value.toObject();
}

bool ObjectReader::has(const QString& key) const
{
    const QJsonValue value = m_object.value(key);
    return !value.isUndefined() && !value.isNull();
}

bool Codec<bool>::decode(const QJsonValue& value, const QString& path)
{
    if (!value.isBool())
        throw DecodeError(path, QStringLiteral("must be a boolean"));
    return value.toBool();
}

namespace {

// An integral JSON number within the given range; 12.5 or "12" are refused.
qint64 integralValue(const QJsonValue& value, const QString& path, qint64 low, qint64 high)
{
    if (!value.isDouble())
        throw DecodeError(path, QStringLiteral("must be an integer"));
    const QVariant variant = value.toVariant();
    if (variant.typeId() == QMetaType::LongLong) {
        const qint64 number = variant.toLongLong();
        if (number < low || number > high)
            throw DecodeError(path, QStringLiteral("is out of range"));
        return number;
    }
    const double number = value.toDouble();
    if (!std::isfinite(number) || std::trunc(number) != number)
        throw DecodeError(path, QStringLiteral("must be an integer"));
    if (number < static_cast<double>(low) || number > static_cast<double>(high))
        throw DecodeError(path, QStringLiteral("is out of range"));
    return static_cast<qint64>(number);
}

} // namespace

int Codec<int>::decode(const QJsonValue& value, const QString& path)
{
    return static_cast<int>(
        integralValue(value, path, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

qint64 Codec<qint64>::decode(const QJsonValue& value, const QString& path)
{
    return integralValue(value, path, std::numeric_limits<qint64>::min(), std::numeric_limits<qint64>::max());
}

double Codec<double>::decode(const QJsonValue& value, const QString& path)
{
    if (!value.isDouble())
        throw DecodeError(path, QStringLiteral("must be a number"));
    return value.toDouble();
}

QString Codec<QString>::decode(const QJsonValue& value, const QString& path)
{
    if (!value.isString())
        throw DecodeError(path, QStringLiteral("must be a string"));
    return value.toString();
}

QJsonObject Codec<QJsonObject>::decode(const QJsonValue& value, const QString& path)
{
    if (!value.isObject())
        throw DecodeError(path, QStringLiteral("must be an object"));
    return value.toObject();
}

QStringList Codec<QStringList>::decode(const QJsonValue& value, const QString& path)
{
    QStringList out;
    for (const QString& item : Codec<std::vector<QString>>::decode(value, path))
        out.append(item);
    return out;
}

QByteArray serialize(const QJsonValue& value)
{
    if (value.isObject())
        return QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact);
    if (value.isArray())
        return QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact);
    // A bare scalar: wrap it and strip the brackets, since QJsonDocument holds only containers.
    QByteArray wrapped = QJsonDocument(QJsonArray { value }).toJson(QJsonDocument::Compact);
    return wrapped.mid(1, wrapped.size() - 2);
}

// Beyond the DecodeErrors of the header, an UnsafeTextError for a string that no screen or file
// should receive (SafeText.h).
QJsonValue parse(const QByteArray& bytes)
{
    if (bytes.trimmed().isEmpty())
        throw DecodeError(QString(), QStringLiteral("empty body"));
    QJsonParseError error {};
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error == QJsonParseError::NoError) {
        const QJsonValue value = document.isObject() ? QJsonValue(document.object()) : QJsonValue(document.array());
        requireSafeDocument(value);
        return value;
    }
    // Scalars at the top level are valid JSON that QJsonDocument refuses; wrap and retry.
    const QJsonDocument wrapped = QJsonDocument::fromJson("[" + bytes + "]", nullptr);
    if (wrapped.isArray() && wrapped.array().size() == 1) {
        const QJsonValue value = wrapped.array().first();
        requireSafeDocument(value);
        return value;
    }
    throw DecodeError(
        QString(), QStringLiteral("not valid JSON: %1 at offset %2").arg(error.errorString()).arg(error.offset));
}

} // namespace wire
