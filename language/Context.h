#pragma once

// What a sentence is understood against: the moment it was said, the household's zone and
// currency, and the household's words. Every result depends on these and on nothing else
// (no system clock, no locale), so the same sentence with the same context gives the same answer.

#include <QDate>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QTimeZone>

namespace language {

class Lexicon;

// Parsers keep a copy of their context. A household Lexicon must outlive the parsers that point
// to it and must not change while they run; with that, parsers may run on several threads at once.
struct Context {
    // The moment of the request; converted to `zone` before any day or clock is derived.
    QDateTime now;
    QTimeZone zone { QByteArrayLiteral("Australia/Melbourne") };
    // Currency of a bare number, "块" and "块钱".
    QString defaultCurrency { QStringLiteral("AUD") };
    // Household members as they are written on money records; a sentence naming one of them
    // (in any letter case) books for that member.
    QStringList members { QStringLiteral("Velmar"), QStringLiteral("Sefa") };
    // The household's words; null means the compiled-in defaults. Not owned.
    const Lexicon* lexicon = nullptr;

    // `now` in the household's zone (unchanged when the zone is unknown to this machine).
    QDateTime localNow() const;
    QDate today() const { return localNow().date(); }
    const Lexicon& words() const;
};

} // namespace language
