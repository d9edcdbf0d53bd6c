#pragma once

#include <QByteArray>

#include <cstdint>
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
        // boolean: its value; string: the text lives in the unescaped buffer.
        bool flag;
        // Containers: index one past the last descendant.
        std::uint32_t end;
        union {
            double number;
            struct {
                std::uint32_t offset;
                std::uint32_t length;
            } text;
        };
    };

    static JsonTape parse(const QByteArray& document);

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
