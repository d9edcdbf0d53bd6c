#include "core/json_tape.h"

#include "core/utf8.h"

#include "core/coding_error.h"
#include "core/json_values.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

class JsonTape::Parser {
public:
    explicit Parser(JsonTape& tape)
        : m_tape(tape)
        , m_begin(tape.m_input.constData())
        , m_end(m_begin + tape.m_input.size())
        , m_pos(m_begin)
    {
    }

    // The whole input is one value and nothing else.
    void document()
    {
        skipWhitespace();
        value();
        endOfDocument();
    }

    // The input is an array; each element is parsed into the tape on its own (the tape is
    // emptied first) and handed to element(tape, position) before the next is read.
    template <class Element>
    void elements(Element element)
    {
        skipWhitespace();
        if (peek() != '[')
            fail("expected an array");
        ++m_pos;
        skipWhitespace();
        for (size_t position = 0; peek() != ']'; ++position) {
            if (position > 0) {
                if (peek() != ',')
                    fail(m_pos == m_end ? "unexpected end of the document" : "expected ',' or ']'");
                ++m_pos;
                skipWhitespace();
            }
            m_tape.m_nodes.clear();
            m_tape.m_unescaped.clear();
            value();
            element(static_cast<const JsonTape&>(m_tape), position);
            skipWhitespace();
        }
        ++m_pos;
        endOfDocument();
    }

private:
    void value();

    void endOfDocument()
    {
        skipWhitespace();
        if (m_pos != m_end)
            fail("unexpected text after the document");
    }

    [[noreturn]] void fail(const char* what) const
    {
        throw CodingError(CodingError::Kind::malformedJson, {},
                          QString::fromUtf8(what) + QStringLiteral(" at byte ") + QString::number(m_pos - m_begin));
    }

    static bool isWhitespace(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

    void skipWhitespace()
    {
        if (m_pos == m_end || !isWhitespace(*m_pos))
            return;
        // Pretty-printed documents are mostly indentation: skip it eight spaces at a time.
        constexpr std::uint64_t spaces = 0x2020202020202020ULL;
        while (m_pos < m_end) {
            std::uint64_t word;
            if (m_end - m_pos >= 8 && (std::memcpy(&word, m_pos, sizeof word), word == spaces)) {
                m_pos += 8;
                continue;
            }
            if (!isWhitespace(*m_pos))
                return;
            ++m_pos;
        }
    }

    char peek() const { return m_pos < m_end ? *m_pos : '\0'; }

    std::uint32_t push(Type type, bool flag = false)
    {
        if (m_tape.m_nodes.size() >= std::numeric_limits<std::uint32_t>::max())
            fail("document too large");
        Node node{};
        node.type = type;
        node.flag = flag;
        m_tape.m_nodes.push_back(node);
        return static_cast<std::uint32_t>(m_tape.m_nodes.size() - 1);
    }

    void literal(std::string_view word, Type type, bool flag)
    {
        if (static_cast<size_t>(m_end - m_pos) < word.size() || std::string_view(m_pos, word.size()) != word)
            fail("invalid literal");
        m_pos += word.size();
        push(type, flag);
    }

    // Adds the key just parsed to its object's key filter, and marks the object when the
    // key really occurs twice (a filter bit can be shared by different keys).
    void noteKey(std::uint32_t object)
    {
        const std::uint32_t keyIndex = m_tape.size() - 1;
        const std::string_view key = m_tape.text(keyIndex);
        const std::uint64_t bit = keyBit(key);
        Node& node = m_tape.m_nodes[object];
        if ((node.keys & bit) != 0 && !node.flag) {
            // The members before this key are complete, so next() can walk them.
            for (std::uint32_t i = object + 1; i < keyIndex; i = m_tape.next(i + 1)) {
                if (m_tape.text(i) == key) {
                    node.flag = true;
                    break;
                }
            }
        }
        node.keys |= bit;
    }

    void number();
    void string();
    void escapedString(const char* start);
    void validateUtf8Sequence();
    void appendCodePoint(std::uint32_t codePoint);
    std::uint32_t hex4();

    JsonTape& m_tape;
    const char* m_begin;
    const char* m_end;
    const char* m_pos;
    // The containers open around the current value.
    std::vector<std::uint32_t> m_open;
};

void JsonTape::Parser::value()
{
    enum class Expect { value, key, separator };
    std::vector<std::uint32_t>& open = m_open; // kept between calls: one allocation per document
    open.clear();
    Expect expect = Expect::value;
    for (;;) {
        if (expect == Expect::key) {
            if (peek() != '"')
                fail("expected a key");
            string();
            noteKey(open.back());
            skipWhitespace();
            if (peek() != ':')
                fail("expected ':'");
            ++m_pos;
            skipWhitespace();
            expect = Expect::value;
            continue;
        }
        if (expect == Expect::value) {
            switch (peek()) {
            case '{':
            case '[': {
                const bool isObject = *m_pos == '{';
                // Decoders walk what they read recursively; refuse a depth no document needs.
                if (open.size() >= size_t(JsonValues::kMaxNesting))
                    fail("nesting too deep");
                open.push_back(push(isObject ? Type::object : Type::array));
                ++m_pos;
                skipWhitespace();
                if (peek() == (isObject ? '}' : ']')) {
                    ++m_pos;
                    m_tape.m_nodes[open.back()].end = m_tape.size();
                    open.pop_back();
                    expect = Expect::separator;
                } else {
                    expect = isObject ? Expect::key : Expect::value;
                }
                continue;
            }
            case '"':
                string();
                break;
            case 't':
                literal("true", Type::boolean, true);
                break;
            case 'f':
                literal("false", Type::boolean, false);
                break;
            case 'n':
                literal("null", Type::null, false);
                break;
            default:
                number();
                break;
            }
            expect = Expect::separator;
            continue;
        }
        // After a value: done at the top level, else a comma or the end of a container.
        if (open.empty())
            return;
        skipWhitespace();
        const bool inObject = m_tape.m_nodes[open.back()].type == Type::object;
        const char c = peek();
        if (c == ',') {
            ++m_pos;
            skipWhitespace();
            expect = inObject ? Expect::key : Expect::value;
        } else if (c == (inObject ? '}' : ']')) {
            ++m_pos;
            m_tape.m_nodes[open.back()].end = m_tape.size();
            open.pop_back();
        } else {
            fail(m_pos == m_end ? "unexpected end of the document" : "expected ',' or the end of a container");
        }
    }
}

void JsonTape::Parser::number()
{
    const char* start = m_pos;
    const auto digits = [&] {
        const char* first = m_pos;
        while (m_pos < m_end && *m_pos >= '0' && *m_pos <= '9')
            ++m_pos;
        return m_pos > first;
    };
    if (peek() == '-')
        ++m_pos;
    if (peek() == '0')
        ++m_pos;
    else if (!digits())
        fail(m_pos == m_end ? "unexpected end of the document" : "unexpected character");
    if (peek() == '.') {
        ++m_pos;
        if (!digits())
            fail("invalid number");
    }
    if (peek() == 'e' || peek() == 'E') {
        ++m_pos;
        if (peek() == '+' || peek() == '-')
            ++m_pos;
        if (!digits())
            fail("invalid number");
    }
    double value = 0;
    const auto [end, error] = std::from_chars(start, m_pos, value);
    if (error == std::errc::result_out_of_range) {
        // Too small rounds to zero; too large has no value a document could be saved with.
        value = std::strtod(std::string(start, m_pos).c_str(), nullptr);
        if (!std::isfinite(value))
            fail("number out of range");
    } else if (error != std::errc() || end != m_pos) {
        fail("invalid number");
    }
    const std::uint32_t index = push(Type::number);
    m_tape.m_nodes[index].number = value;
}

namespace {

// Whether any of eight bytes is a quote, a backslash, a control character or non-ASCII:
// the bytes a string scan has to look at one by one.
bool needsAttention(std::uint64_t word)
{
    constexpr std::uint64_t ones = 0x0101010101010101ULL;
    constexpr std::uint64_t highs = 0x8080808080808080ULL;
    const auto hasZero = [](std::uint64_t v) { return (v - ones) & ~v & highs; };
    const std::uint64_t quote = hasZero(word ^ (ones * '"'));
    const std::uint64_t backslash = hasZero(word ^ (ones * '\\'));
    const std::uint64_t control = (word - ones * 0x20) & ~word & highs;
    return (quote | backslash | control | (word & highs)) != 0;
}

} // namespace

void JsonTape::Parser::string()
{
    ++m_pos; // opening quote
    const char* start = m_pos;
    while (m_end - m_pos >= 8) {
        std::uint64_t word;
        std::memcpy(&word, m_pos, sizeof word);
        if (needsAttention(word))
            break;
        m_pos += 8;
    }
    while (m_pos < m_end) {
        const auto c = static_cast<unsigned char>(*m_pos);
        if (c == '"') {
            const std::uint32_t index = push(Type::string);
            m_tape.m_nodes[index].text = {static_cast<std::uint32_t>(start - m_begin),
                                          static_cast<std::uint32_t>(m_pos - start)};
            ++m_pos;
            return;
        }
        if (c == '\\')
            return escapedString(start);
        if (c < 0x20)
            fail("control character in a string");
        if (c >= 0x80)
            validateUtf8Sequence();
        else
            ++m_pos;
    }
    fail("unterminated string");
}

void JsonTape::Parser::escapedString(const char* start)
{
    std::string& out = m_tape.m_unescaped;
    const size_t offset = out.size();
    out.append(start, m_pos);
    while (m_pos < m_end) {
        const auto c = static_cast<unsigned char>(*m_pos);
        if (c == '"') {
            const std::uint32_t index = push(Type::string, true);
            m_tape.m_nodes[index].text = {static_cast<std::uint32_t>(offset),
                                          static_cast<std::uint32_t>(out.size() - offset)};
            ++m_pos;
            return;
        }
        if (c < 0x20)
            fail("control character in a string");
        if (c >= 0x80) {
            const char* sequence = m_pos;
            validateUtf8Sequence();
            out.append(sequence, m_pos);
            continue;
        }
        if (c != '\\') {
            out.push_back(static_cast<char>(c));
            ++m_pos;
            continue;
        }
        ++m_pos;
        const char escape = peek();
        ++m_pos;
        switch (escape) {
        case '"': out.push_back('"'); break;
        case '\\': out.push_back('\\'); break;
        case '/': out.push_back('/'); break;
        case 'b': out.push_back('\b'); break;
        case 'f': out.push_back('\f'); break;
        case 'n': out.push_back('\n'); break;
        case 'r': out.push_back('\r'); break;
        case 't': out.push_back('\t'); break;
        case 'u': {
            std::uint32_t codePoint = hex4();
            if (codePoint >= 0xDC00 && codePoint <= 0xDFFF)
                fail("lone low surrogate");
            if (codePoint >= 0xD800 && codePoint <= 0xDBFF) {
                if (m_end - m_pos < 2 || m_pos[0] != '\\' || m_pos[1] != 'u')
                    fail("lone high surrogate");
                m_pos += 2;
                const std::uint32_t low = hex4();
                if (low < 0xDC00 || low > 0xDFFF)
                    fail("invalid surrogate pair");
                codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (low - 0xDC00);
            }
            appendCodePoint(codePoint);
            break;
        }
        default:
            fail("invalid escape");
        }
    }
    fail("unterminated string");
}

std::uint32_t JsonTape::Parser::hex4()
{
    if (m_end - m_pos < 4)
        fail("invalid \\u escape");
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) {
        const char c = *m_pos++;
        value <<= 4;
        if (c >= '0' && c <= '9')
            value |= static_cast<std::uint32_t>(c - '0');
        else if (c >= 'a' && c <= 'f')
            value |= static_cast<std::uint32_t>(c - 'a' + 10);
        else if (c >= 'A' && c <= 'F')
            value |= static_cast<std::uint32_t>(c - 'A' + 10);
        else
            fail("invalid \\u escape");
    }
    return value;
}

void JsonTape::Parser::appendCodePoint(std::uint32_t cp)
{
    appendUtf8(m_tape.m_unescaped, char32_t(cp));
}

// Advances over one well-formed UTF-8 sequence of two to four bytes.
void JsonTape::Parser::validateUtf8Sequence()
{
    const auto byte = [&](std::ptrdiff_t i) { return static_cast<unsigned char>(m_pos[i]); };
    const auto lead = byte(0);
    int length = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0)
            low = 0xA0;
        else if (lead == 0xED)
            high = 0x9F; // no surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0)
            low = 0x90;
        else if (lead == 0xF4)
            high = 0x8F;
    } else {
        fail("invalid UTF-8");
    }
    if (m_end - m_pos < length)
        fail("invalid UTF-8");
    if (byte(1) < low || byte(1) > high)
        fail("invalid UTF-8");
    for (int i = 2; i < length; ++i) {
        if (byte(i) < 0x80 || byte(i) > 0xBF)
            fail("invalid UTF-8");
    }
    m_pos += length;
}

JsonTape JsonTape::parse(const QByteArray& document)
{
    JsonTape tape;
    tape.m_input = document;
    // About one node per 16 bytes of compact text, per 24 bytes of pretty-printed
    // text: reserving close to that spares copying a large tape while it grows.
    const bool pretty = document.left(64).contains('\n');
    tape.m_nodes.reserve(static_cast<size_t>(document.size() / (pretty ? 24 : 16) + 16));
    Parser(tape).document();
    return tape;
}

void JsonTape::parseElements(const QByteArray& document, const std::function<void(const JsonTape&, size_t)>& element)
{
    JsonTape tape;
    tape.m_input = document;
    Parser(tape).elements(element);
}
