#include "wmihost/wql/DateConstant.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "wmihost/terminal/Text.h"

namespace wmihost::wql {
namespace {

constexpr std::size_t DATETIME_LENGTH = 25;
constexpr std::size_t DATETIME_POINT = 14;
constexpr std::size_t DATETIME_SIGN = 21;

struct Moment
{
    long long year = 0;
    long long month = 1;
    long long day = 1;
    long long hour = 0;
    long long minute = 0;
    long long second = 0;
    long long microsecond = 0;
    long long minutesEast = 0;  // of UTC
};

bool isDigit(wchar_t c)
{
    return c >= L'0' && c <= L'9';
}

bool isLetter(wchar_t c)
{
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z');
}

bool areDigits(std::wstring_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), isDigit);
}

// Of at most nine digits.
long long numberIn(std::wstring_view digits)
{
    long long number = 0;
    for (const wchar_t digit : digits) {
        number = number * 10 + (digit - L'0');
    }
    return number;
}

long long daysIn(long long month, long long year)
{
    constexpr std::array<long long, 12> DAYS{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 2 && leap ? 29 : DAYS[static_cast<std::size_t>(month - 1)];
}

bool isValid(const Moment& m)
{
    return m.month >= 1 && m.month <= 12 && m.day >= 1 && m.day <= daysIn(m.month, m.year) && m.hour <= 23 &&
           m.minute <= 59 && m.second <= 59;
}

// Days of the Gregorian calendar. A year begins with March here, so that a leap day is its last.
long long microseconds(const Moment& m)
{
    const bool isEarly = m.month <= 2;
    const long long years = isEarly ? m.year - 1 : m.year;
    const long long monthsFromMarch = isEarly ? m.month + 9 : m.month - 3;
    const long long days =
        years * 365 + years / 4 - years / 100 + years / 400 + (153 * monthsFromMarch + 2) / 5 + m.day;
    return (((days * 24 + m.hour) * 60 + m.minute - m.minutesEast) * 60 + m.second) * 1000000 + m.microsecond;
}

// A number, a word, or one other character. Spaces only separate.
struct Token
{
    enum class Kind
    {
        NUMBER,
        WORD,
        MARK
    };

    Kind kind;
    std::wstring_view text;

    bool is(wchar_t c) const { return kind == Kind::MARK && text.front() == c; }
};

bool isHalfOfDay(const Token& token)
{
    return sameName(token.text, L"AM") || sameName(token.text, L"PM");
}

std::vector<Token> tokensOf(std::wstring_view text)
{
    std::vector<Token> tokens;
    for (std::size_t at = 0; at < text.size();) {
        const auto first = text.begin() + static_cast<std::ptrdiff_t>(at);
        const auto run = [&](auto belongs) {
            return text.substr(at, static_cast<std::size_t>(std::find_if_not(first, text.end(), belongs) - first));
        };
        if (isDigit(*first)) {
            tokens.push_back({Token::Kind::NUMBER, run(isDigit)});
        } else if (isLetter(*first)) {
            tokens.push_back({Token::Kind::WORD, run(isLetter)});
        } else if (*first != L' ') {
            tokens.push_back({Token::Kind::MARK, text.substr(at, 1)});
        } else {
            ++at;
            continue;
        }
        at += tokens.back().text.size();
    }
    return tokens;
}

// Reads tokens from the first to the last. Each function takes only tokens that it recognises.
class TokenReader
{
public:
    explicit TokenReader(std::vector<Token> tokens) : m_tokens(std::move(tokens)) {}

    bool atEnd() const { return m_at == m_tokens.size(); }

    const Token* look(std::size_t ahead = 0) const
    {
        return m_at + ahead < m_tokens.size() ? &m_tokens[m_at + ahead] : nullptr;
    }

    bool takeMark(wchar_t c)
    {
        const bool found = look() != nullptr && look()->is(c);
        m_at += found ? 1 : 0;
        return found;
    }

    bool takeWord(std::wstring_view word)
    {
        const bool found = look() != nullptr && look()->kind == Token::Kind::WORD && sameName(look()->text, word);
        m_at += found ? 1 : 0;
        return found;
    }

    std::optional<std::wstring_view> takeNumber()
    {
        if (look() == nullptr || look()->kind != Token::Kind::NUMBER) {
            return std::nullopt;
        }
        return m_tokens[m_at++].text;
    }

    // The number of the month whose name, or its first three letters, is the next token.
    std::optional<long long> takeMonth()
    {
        constexpr std::array<std::wstring_view, 12> MONTHS{L"January",   L"February", L"March",    L"April",
                                                           L"May",       L"June",     L"July",     L"August",
                                                           L"September", L"October",  L"November", L"December"};
        for (std::size_t i = 0; i < MONTHS.size(); ++i) {
            if (takeWord(MONTHS[i]) || takeWord(MONTHS[i].substr(0, 3))) {
                return static_cast<long long>(i + 1);
            }
        }
        return std::nullopt;
    }

private:
    std::vector<Token> m_tokens;
    std::size_t m_at = 0;
};

// A year of two digits is one from 1930 to 2029.
long long yearOf(std::wstring_view digits)
{
    const long long number = numberIn(digits);
    const long long century = number < 30 ? 2000 : 1900;
    return digits.size() <= 2 ? century + number : number;
}

bool isYear(std::wstring_view digits)
{
    return digits.size() == 4;
}

// "20261121094500.000000+060"
std::optional<Moment> datetime(std::wstring_view text)
{
    if (text.size() != DATETIME_LENGTH || text[DATETIME_POINT] != L'.' ||
        (text[DATETIME_SIGN] != L'+' && text[DATETIME_SIGN] != L'-') || !areDigits(text.substr(0, DATETIME_POINT)) ||
        !areDigits(text.substr(15, 6)) || !areDigits(text.substr(22)))
    {
        return std::nullopt;
    }
    const long long offset = numberIn(text.substr(22));
    return Moment{numberIn(text.substr(0, 4)),  numberIn(text.substr(4, 2)),
                  numberIn(text.substr(6, 2)),  numberIn(text.substr(8, 2)),
                  numberIn(text.substr(10, 2)), numberIn(text.substr(12, 2)),
                  numberIn(text.substr(15, 6)), text[DATETIME_SIGN] == L'-' ? -offset : offset};
}

// "20261121", "261121", "202611" (four digits are the year) and "2026"
bool solidDate(std::wstring_view digits, Moment& result)
{
    switch (digits.size()) {
        case 4:
            result.year = numberIn(digits);
            return true;
        case 6: {
            // The year has two digits if the rest is then a day of the calendar, otherwise four.
            Moment shorter{yearOf(digits.substr(0, 2)), numberIn(digits.substr(2, 2)), numberIn(digits.substr(4))};
            result = isValid(shorter) ? shorter : Moment{numberIn(digits.substr(0, 4)), numberIn(digits.substr(4))};
            return true;
        }
        case 8:
            result = {numberIn(digits.substr(0, 4)), numberIn(digits.substr(4, 2)), numberIn(digits.substr(6))};
            return true;
        default:
            return false;
    }
}

// Three numbers with the same separator between them. The number with four digits is the year; without one, the last
// number is. Of the other two the first is the month, unless it cannot be one.
bool separatedDate(TokenReader& reader, std::wstring_view first, wchar_t separator, Moment& result)
{
    std::vector<std::wstring_view> parts{first};
    while (parts.size() < 3 && reader.takeMark(separator)) {
        const auto part = reader.takeNumber();
        if (!part || part->size() > 4) {
            return false;
        }
        parts.push_back(*part);
    }
    if (parts.size() != 3) {
        return false;
    }
    const auto year = std::find_if(parts.begin(), parts.end(), isYear);
    const auto place = year == parts.end() ? parts.begin() + 2 : year;
    result.year = yearOf(*place);
    parts.erase(place);
    const bool dayFirst = numberIn(parts[0]) > 12;
    result.month = numberIn(parts[dayFirst ? 1 : 0]);
    result.day = numberIn(parts[dayFirst ? 0 : 1]);
    return true;
}

// The month is a word: "Jan 21, 1932", "January 1932", "21 January 32", "1932 21 Jan" and the like. Of two numbers the
// one with four digits is the year. Without one, the year is the first number if that is greater than any day,
// otherwise the last one.
bool wordDate(TokenReader& reader, Moment& result)
{
    std::vector<std::wstring_view> numbers;
    bool hasMonth = false;
    while (!reader.atEnd() && numbers.size() + (hasMonth ? 1 : 0) < 3) {
        const Token* next = reader.look(1);
        const bool isTime = next != nullptr && (next->is(L':') || isHalfOfDay(*next));
        if (const auto month = hasMonth ? std::nullopt : reader.takeMonth()) {
            result.month = *month;
            hasMonth = true;
        } else if (const auto number = isTime ? std::nullopt : reader.takeNumber()) {
            numbers.push_back(*number);
        } else if (!reader.takeMark(L',')) {
            break;
        }
    }
    const bool fits = std::all_of(numbers.begin(), numbers.end(), [](const auto& n) { return n.size() <= 4; });
    if (!hasMonth || numbers.empty() || !fits) {
        return false;
    }
    if (numbers.size() == 1) {
        result.year = numberIn(numbers.front());
        return isYear(numbers.front());
    }
    const bool yearFirst = isYear(numbers[0]) || (!isYear(numbers[1]) && numberIn(numbers[0]) > 31);
    result.year = yearOf(numbers[yearFirst ? 0 : 1]);
    result.day = numberIn(numbers[yearFirst ? 1 : 0]);
    return numbers[yearFirst ? 1 : 0].size() <= 2;
}

// "4 PM", "3:23", "3:23:00 AM", "3:23:00:060" with the minutes east of UTC
bool readTime(TokenReader& reader, Moment& result)
{
    const auto take = [&reader](long long& part, std::size_t digits) {
        const auto number = reader.takeNumber();
        part = number && number->size() <= digits ? numberIn(*number) : 0;
        return number && number->size() <= digits;
    };
    if (!take(result.hour, 2)) {
        return false;
    }
    bool hasMinutes = false;
    if (reader.takeMark(L':')) {
        hasMinutes = true;
        if (!take(result.minute, 2) || (reader.takeMark(L':') && !take(result.second, 2)) ||
            (reader.takeMark(L':') && !take(result.minutesEast, 3)))
        {
            return false;
        }
    }
    const bool morning = reader.takeWord(L"AM");
    if (morning || reader.takeWord(L"PM")) {
        if (result.hour < 1 || result.hour > 12) {
            return false;
        }
        result.hour = result.hour % 12 + (morning ? 0 : 12);
        return true;
    }
    return hasMinutes;
}

// A date as people write it, optionally followed by a time.
std::optional<Moment> writtenDate(std::wstring_view text)
{
    const std::vector<Token> tokens = tokensOf(text);
    Moment result;
    TokenReader reader(tokens);
    const bool namesMonth = std::any_of(tokens.begin(), tokens.end(), [](const Token& token) {
        return token.kind == Token::Kind::WORD && !isHalfOfDay(token);
    });
    bool isDate = false;
    if (namesMonth) {
        isDate = wordDate(reader, result);
    } else if (const auto first = reader.takeNumber()) {
        const Token* next = reader.look();
        const bool separated = next != nullptr && (next->is(L'/') || next->is(L'-') || next->is(L'.'));
        isDate = separated ? first->size() <= 4 && separatedDate(reader, *first, next->text.front(), result)
                           : solidDate(*first, result);
    }
    if (!isDate || (!reader.atEnd() && !readTime(reader, result)) || !reader.atEnd()) {
        return std::nullopt;
    }
    return result;
}

// "20261121094500"
std::optional<Moment> solidSecond(std::wstring_view text)
{
    if (text.size() != DATETIME_POINT || !areDigits(text)) {
        return std::nullopt;
    }
    return datetime(std::wstring(text) + L".000000+000");
}

}  // namespace

std::optional<long long> pointInTime(std::wstring_view text)
{
    std::optional<Moment> moment = datetime(text);
    if (!moment) {
        moment = solidSecond(text);
    }
    if (!moment) {
        moment = writtenDate(text);
    }
    return moment && isValid(*moment) ? std::optional(microseconds(*moment)) : std::nullopt;
}

bool isInterval(std::wstring_view text)
{
    return text.size() == DATETIME_LENGTH && text[DATETIME_POINT] == L'.' && text[DATETIME_SIGN] == L':' &&
           areDigits(text.substr(0, DATETIME_POINT)) && areDigits(text.substr(15, 6)) && areDigits(text.substr(22));
}

}  // namespace wmihost::wql
