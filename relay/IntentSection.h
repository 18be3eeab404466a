#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringView>

#include <optional>

namespace language {
struct Context;
}

namespace mintbridge {

// The kinds of reading the relay gives: a booking, a time record, or a free answer.
enum class IntentSection { finance, time, steward };

std::optional<IntentSection> sectionFromName(const QString& name);
QString sectionName(IntentSection section);

// The relay's own understanding of a sentence, in the section's `parsed` shape.
QJsonObject builtinParsed(IntentSection section, QStringView text, const language::Context& context);

// A model's answer held to the section's fields: keys of the section with values of the right
// type are kept (numbers given as text are read as numbers, days and clock times normalised),
// anything else is dropped. Throws RelayError 502 when what is left is no answer at all.
QJsonObject validateParsed(IntentSection section, const QJsonObject& answer);

} // namespace mintbridge
