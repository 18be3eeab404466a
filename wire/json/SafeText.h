#pragma once

// Text that cannot hurt: every string and object key decoded from the wire is checked
// once, in wire::parse, so no ledger, CSV, report or screen ever receives a NUL, an
// escape sequence or half a surrogate pair.
//   - Everywhere: control characters other than tab and newline are refused, as are
//     unpaired UTF-16 surrogates.
//   - Single-line values (ids, names, titles, keywords) also refuse bidirectional
//     controls, which can make a name read differently from what it is.
// A value is single-line when the key that holds it is one of those (see isSingleLineKey).

#include "JsonCoding.h"

namespace wire {

// The refusal. Its description is one Chinese sentence that names the field itself
// ("字段 activity 含有不允许的控制字符（U+0000）"), so the servers' 422 detail reads whole;
// the base's field() therefore stays empty and path() holds the dotted path.
class UnsafeTextError : public DecodeError {
public:
    enum class Reason { ControlCharacter, UnpairedSurrogate, DirectionControl };

    UnsafeTextError(QString path, Reason reason, char16_t codeUnit);

    const QString& path() const noexcept { return m_path; }
    Reason reason() const noexcept { return m_reason; }
    char16_t codeUnit() const noexcept { return m_codeUnit; }

private:
    QString m_path;
    Reason m_reason;
    char16_t m_codeUnit;
};

enum class TextShape { Multiline, SingleLine };

// Throws UnsafeTextError naming `path` when `text` holds a character the shape refuses.
void requireSafeText(QStringView text, const QString& path, TextShape shape);

// True for keys such as "id", "session_id", "name", "display_name", "title", "keyword".
bool isSingleLineKey(QStringView key);

// Checks every string and key of a decoded document; the shape of a string follows the
// key that holds it (strings inside an array follow the array's key).
void requireSafeDocument(const QJsonValue& value, const QString& path = {});

} // namespace wire
