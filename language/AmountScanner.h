#pragma once

// Money in a sentence. A number becomes an amount when it carries a currency word before or
// after it, or when nothing else claims it; numbers that count things ("2 张", "两晚", "3kg")
// are marked as quantities and never become money.
//
//   default currency   a bare number, "块", "块钱" (and the 毛/角 after them: "三块五" is 3.5)
//   CNY                "元", "人民币", "RMB", "¥", "CNY"
//   AUD                "刀", "澳元", "澳币", "AUD", "A$", "$"
//   USD                "美元", "美金", "USD", "US$"
//
// A number in Chinese numerals without a currency word counts only when it stands alone
// ("午饭五十"), so 一起, 三明治 and 五花肉 keep their meaning.

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
    explicit AmountScanner(QString defaultCurrency)
        : m_defaultCurrency(std::move(defaultCurrency))
    {
    }

    // Finds and marks amounts and counted quantities, in sentence order.
    QList<AmountMention> scan(MarkedText& text) const;
    // A currency named without a number ("改成人民币"); marks it.
    std::optional<QString> scanCurrencyName(MarkedText& text) const;

    static std::optional<CurrencyWord> suffixAt(const MarkedText& text, qsizetype pos);
    static std::optional<CurrencyWord> prefixAt(const MarkedText& text, qsizetype pos);

private:
    QString m_defaultCurrency;
};

} // namespace language
