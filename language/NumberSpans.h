#pragma once

// Numbers that are something other than money, each claimed as a span of its own kind before
// amounts are looked for, so that no digit is left over to be taken for a price:
//   labelled   尾号 6789, 验证码 482913, 学号 1234567, pin 是 4321     → code (label and number)
//   phone-like 0412 345 678, +61 412 345 678, 13812345678, 400-820-8820 → code
//   identifier P60, ECON10004, 5G, 4K, COVID-19, Xbox 360, iPhone 15 Pro, USB-C 3.2
//   ordinal    第 7 章, 第二轮, 2nd, 3rd, chapter 7, lecture 8
//   year       2024 年, since 2019, born in 1992, and a year-like number beside a price
// Identifiers and ordinals stay in the phrase they name ("复习 ECON10004", "读第 7 章");
// codes and years leave it. Counts and units are the amount scanner's: they sit at the edge
// of a money reading ("3 斤苹果 12").

#include "MarkedText.h"

namespace language {

class NumberSpans {
public:
    // Marks every span it recognises; already marked characters are left alone.
    static void scan(MarkedText& text);
};

} // namespace language
