#include "SafeText.h"

namespace wire {

namespace {

QString hexCode(char16_t unit)
{
    return QStringLiteral("U+%1").arg(uint(unit), 4, 16, QLatin1Char('0')).toUpper();
}

QString reasonText(UnsafeTextError::Reason reason, char16_t unit)
{
    switch (reason) {
    case UnsafeTextError::Reason::ControlCharacter:
        return QStringLiteral("含有不允许的控制字符（%1）").arg(hexCode(unit));
    case UnsafeTextError::Reason::UnpairedSurrogate:
        return QStringLiteral("含有不完整的 Unicode 字符（孤立代理 %1）").arg(hexCode(unit));
    case UnsafeTextError::Reason::DirectionControl:
        return QStringLiteral("含有改变文字方向的控制字符（%1），名称、标题、关键词和编号里不允许").arg(hexCode(unit));
    }
    return {};
}

bool isRefusedControl(char16_t unit)
{
    if (unit == u'\t' || unit == u'\n')
        return false;
    return unit < 0x20 || (unit >= 0x7F && unit <= 0x9F);
}

bool isDirectionControl(char16_t unit)
{
    return unit == 0x061C || unit == 0x200E || unit == 0x200F || (unit >= 0x202A && unit <= 0x202E)
        || (unit >= 0x2066 && unit <= 0x2069);
}

} // namespace

UnsafeTextError::UnsafeTextError(QString path, Reason reason, char16_t codeUnit)
    : DecodeError(QString(),
        (path.isEmpty() ? QStringLiteral("文本") : QStringLiteral("字段 %1 ").arg(path)) + reasonText(reason, codeUnit))
    , m_path(std::move(path))
    , m_reason(reason)
    , m_codeUnit(codeUnit)
{
}

void requireSafeText(QStringView text, const QString& path, TextShape shape)
{
    const qsizetype size = text.size();
    for (qsizetype i = 0; i < size; ++i) {
        const char16_t unit = text[i].unicode();
        if (QChar::isHighSurrogate(unit)) {
            if (i + 1 < size && QChar::isLowSurrogate(text[i + 1].unicode())) {
                ++i;
                continue;
            }
            throw UnsafeTextError(path, UnsafeTextError::Reason::UnpairedSurrogate, unit);
        }
        if (QChar::isLowSurrogate(unit))
            throw UnsafeTextError(path, UnsafeTextError::Reason::UnpairedSurrogate, unit);
        if (isRefusedControl(unit))
            throw UnsafeTextError(path, UnsafeTextError::Reason::ControlCharacter, unit);
        if (shape == TextShape::SingleLine && isDirectionControl(unit))
            throw UnsafeTextError(path, UnsafeTextError::Reason::DirectionControl, unit);
    }
}

bool isSingleLineKey(QStringView key)
{
    static constexpr QStringView exact[] = { u"id", u"name", u"username", u"title", u"keyword", u"slug" };
    for (QStringView word : exact) {
        if (key == word)
            return true;
    }
    return key.endsWith(u"_id") || key.endsWith(u"_name") || key.endsWith(u"_title");
}

namespace {

void walk(const QJsonValue& value, const QString& path, TextShape shape)
{
    if (value.isString()) {
        requireSafeText(value.toString(), path, shape);
    } else if (value.isArray()) {
        const QJsonArray array = value.toArray();
        for (qsizetype i = 0; i < array.size(); ++i)
            walk(array.at(i), indexPath(path, i), shape);
    } else if (value.isObject()) {
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it) {
            // A key is a name too: it ends up as a column or a label.
            requireSafeText(it.key(), path, TextShape::SingleLine);
            walk(it.value(), joinPath(path, it.key()),
                isSingleLineKey(it.key()) ? TextShape::SingleLine : TextShape::Multiline);
        }
    }
}

} // namespace

void requireSafeDocument(const QJsonValue& value, const QString& path)
{
    walk(value, path, TextShape::Multiline);
}

} // namespace wire
