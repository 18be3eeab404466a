#pragma once

// The household's words: which keyword points to which finance category (and whether that
// category is spending, income or bookkeeping), and which activity word points to which time
// category. Defaults are compiled in; the household's own rows (a table on the server) are
// added at run time and outrank every built-in word.
//
// Matching is leftmost-longest over the lower-cased sentence: "uber eats" wins over "uber",
// "猫罐头" over "罐头". Latin keywords match whole words only ("rent" is not in "current"),
// plurals included ("coffees", "tickets").
// Each matched keyword adds its weight to its category; the heaviest category wins and a tie
// goes to the category mentioned first. Weights say how telling a word is: a shop ("超市",
// "Kmart") is weak, a thing bought ("猫粮", "洗衣液") is strong, so "超市买猫粮" is 宠物.

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>

namespace language {

enum class EntryKind { expense, income, reserved };

struct CategoryMatch {
    QString category;
    EntryKind kind = EntryKind::expense;
    int score = 0;
    qsizetype firstAt = 0;
};

class Lexicon {
public:
    // A household row counts for more than any number of built-in words.
    static constexpr int householdWeight = 100;

    // The compiled-in defaults, shared and immutable.
    static const Lexicon& builtIn();
    // A copy of the defaults to extend with the household's rows.
    static Lexicon withDefaults();

    void addFinanceWord(const QString& keyword, const QString& category, EntryKind kind, int weight = householdWeight);
    void addTimeWord(const QString& keyword, const QString& category, int weight = householdWeight);
    // A category the household uses even before any keyword points to it ("改成咖啡" finds it).
    void addFinanceCategory(const QString& name, EntryKind kind);

    // Best finance category for a lower-cased text; nullopt when no keyword occurs.
    std::optional<CategoryMatch> matchFinance(QStringView folded) const;
    // Length of the longest finance keyword that the lower-cased text starts with (0 when none).
    qsizetype financeWordLengthAt(QStringView folded) const;
    // Length of the longest time keyword that the lower-cased text starts with (0 when none).
    qsizetype timeWordLengthAt(QStringView folded) const;
    // Best time category name for a lower-cased text.
    std::optional<QString> matchTime(QStringView folded) const;

    bool isFinanceCategory(const QString& name) const { return m_categoryKinds.contains(name); }
    EntryKind kindOf(const QString& category) const { return m_categoryKinds.value(category, EntryKind::expense); }
    QStringList financeCategories() const { return m_categoryOrder; }
    bool isTimeCategory(const QString& name) const { return m_timeCategories.contains(name); }
    QStringList timeCategories() const { return m_timeCategories; }

    // The usual name of an activity said by its bare verb ("睡" is 睡觉).
    QString canonicalActivity(const QString& activity) const { return m_canonicalActivities.value(activity, activity); }

    // The fallback categories when nothing matched.
    static QString otherExpense() { return QStringLiteral("其他"); }

private:
    struct Word {
        QString keyword;
        QString category;
        EntryKind kind = EntryKind::expense;
        int weight = 0;
        bool latinWord = false;
    };
    // Words indexed by their first character, longest first within each bucket.
    using WordIndex = QHash<QChar, QList<Word>>;

    static void insert(WordIndex& index, Word word);
    static qsizetype wordLengthAt(const WordIndex& index, QStringView folded);
    template<class OnMatch> static void scan(const WordIndex& index, QStringView folded, OnMatch onMatch);
    static Lexicon buildDefaults();

    WordIndex m_finance;
    WordIndex m_time;
    QHash<QString, EntryKind> m_categoryKinds;
    QStringList m_categoryOrder;
    QStringList m_timeCategories;
    QHash<QString, QString> m_canonicalActivities;
};

} // namespace language
