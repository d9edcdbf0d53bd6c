#pragma once

#include <QByteArray>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// A parsed JSON document as one flat array of nodes (a "tape"): a container node
// records where its last descendant ends, strings point into the input (or, when
// they had escapes, into one buffer of unescaped text). Parsing makes no allocation
// per value, which is what lets a schedule of tens of thousands of threads load in a
// fraction of the time a tree of nlohmann::json values takes.
//
// Strict RFC 8259: no comments, no trailing commas, UTF-8 validated, lone
// surrogates refused. Throws CodingError (malformedJson) with the byte offset.
class JsonTape {
public:
    enum class Type : std::uint8_t { null, boolean, number, string, array, object };

    struct Node {
        Type type;
        // boolean: its value; string: the text lives in the unescaped buffer;
        // object: some key occurs twice.
        bool flag;
        // Containers: index one past the last descendant.
        std::uint32_t end;
        union {
            double number;
            struct {
                std::uint32_t offset;
                std::uint32_t length;
            } text;
            // Objects: one bit per key (keyBit), so a lookup of an absent key mostly costs nothing.
            std::uint64_t keys;
        };
    };

    // The filter bit of an object key: cheap to compute from a few of its bytes.
    static std::uint64_t keyBit(std::string_view key)
    {
        if (key.empty())
            return 1;
        const auto first = static_cast<unsigned char>(key.front());
        const auto last = static_cast<unsigned char>(key.back());
        const auto middle = static_cast<unsigned char>(key[key.size() / 2]);
        return std::uint64_t{1} << ((key.size() * 7 + first * 3 + middle * 5 + last) & 63);
    }

    static JsonTape parse(const QByteArray& document);
    // For a document that is an array: parses one element at a time into a tape of its
    // own and calls element(tape, position), so a long list never needs a tape of the
    // whole document. A malformed document throws when the parse reaches the fault.
    static void parseElements(const QByteArray& document,
                              const std::function<void(const JsonTape&, size_t)>& element);

    const Node& node(std::uint32_t index) const { return m_nodes[index]; }
    std::uint32_t size() const { return static_cast<std::uint32_t>(m_nodes.size()); }
    // The index after a node and all its descendants.
    std::uint32_t next(std::uint32_t index) const
    {
        const Node& n = m_nodes[index];
        return n.type == Type::array || n.type == Type::object ? n.end : index + 1;
    }
    // The UTF-8 content of a string node.
    std::string_view text(std::uint32_t index) const
    {
        const Node& n = m_nodes[index];
        const char* base = n.flag ? m_unescaped.data() : m_input.constData();
        return {base + n.text.offset, n.text.length};
    }

private:
    class Parser;

    QByteArray m_input;
    std::string m_unescaped;
    std::vector<Node> m_nodes;
};
