#pragma once

// Money in a sentence. A number with a currency word before or after it is an amount; a bare
// number nothing else claimed is only a candidate, which becomes money when the sentence has the
// shape of a booking (see BookingShape). Numbers that count or measure things ("2 张", "两晚",
// "3kg", "4 天", "18%") are marked as quantities and never become money.
//
//   default currency   a bare number, "块", "块钱" (and the 毛/角 after them: "三块五" is 3.5)
//   CNY                "元", "人民币", "RMB", "¥", "CNY"
//   AUD                "刀", "澳元", "澳币", "AUD", "A$", "$"
//   USD                "美元", "美金", "USD", "US$"
//
// A number in Chinese numerals without a currency word counts only when it stands alone
// ("午饭五十"), so 一起, 三明治 and 五花肉 keep their meaning.

#include "Lexicon.h"
#include "MarkedText.h"

#include <QList>
#include <QString>

#include <optional>

namespace language {

struct AmountMention {
    qsizetype pos = 0;
    qsizetype len = 0;
    double value = 0;
    QString currency; // three-letter code; the default currency for bare numbers and 块
    bool currencySaid = false; // any money word, 块 included
    bool explicitCurrency = false; // a word naming a currency (元, 刀, $ ...), not 块 or nothing
    bool gluedToWord = false; // "iphone15": more likely a model than a price
};

struct CurrencyWord {
    QString code; // empty for 块 and 块钱: the household's currency
    qsizetype len = 0;
};

class AmountScanner {
public:
    // The lexicon tells a counting word from the start of the next word ("20 晚饭").
    AmountScanner(QString defaultCurrency, const Lexicon& lexicon)
        : m_defaultCurrency(std::move(defaultCurrency))
        , m_lexicon(lexicon)
    {
    }

    // Finds and marks amounts and counted quantities, in sentence order.
    QList<AmountMention> scan(MarkedText& text) const;
    // A currency named without a number ("改成人民币"); marks it.
    std::optional<QString> scanCurrencyName(MarkedText& text) const;

    static std::optional<CurrencyWord> suffixAt(const MarkedText& text, qsizetype pos);
    static std::optional<CurrencyWord> prefixAt(const MarkedText& text, qsizetype pos);

private:
    qsizetype quantityUnitAt(const MarkedText& text, qsizetype end) const;

    QString m_defaultCurrency;
    const Lexicon& m_lexicon;
};

} // namespace language
