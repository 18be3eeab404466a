#pragma once

// Numbers as people type them: "23.5", "1,200", "1.2k", "3万", "1万2", and Chinese numerals with
// their spoken abbreviations ("一百二" is 120, "两千五" 2500, "一万二" 12000).

#include <QStringView>

#include <optional>

namespace language {

bool isChineseNumeral(QChar c);
// 0..9 for 零〇一二两三四五六七八九, -1 otherwise.
int chineseDigit(QChar c);

// Value of a whole run of Chinese numerals; nullopt when the run is not a number ("万", "千万").
// A run of digits without units reads digit by digit ("二零二六" is 2026).
std::optional<double> chineseNumeralValue(QStringView run);

struct NumberRead {
    qsizetype len = 0;
    double value = 0;
    bool chinese = false; // written in Chinese numerals
};

// Reads the number that starts exactly at `pos` (of lower-cased text). A Chinese run is taken
// whole; a run that is not a number gives nullopt.
std::optional<NumberRead> readNumber(QStringView folded, qsizetype pos);

} // namespace language
