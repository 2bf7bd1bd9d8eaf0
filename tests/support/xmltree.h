// A strict reader of plain XML, to see whether what was written is well-formed and what stands in it: elements,
// attributes, texts, the five named entities and one declaration. What it does not know is an error.
#ifndef TESTS_SUPPORT_XMLTREE_H
#define TESTS_SUPPORT_XMLTREE_H

#include <algorithm>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

struct XmlElement {
    std::string name;
    std::map<std::string, std::string> attributes;
    std::vector<XmlElement> children;
    std::string text; // its own, without that of its children

    std::string attribute(const std::string& key) const {
        const auto found = attributes.find(key);
        return found != attributes.end() ? found->second : std::string();
    }
    // Calls for the element and all below it, in the order of the document.
    void walk(const std::function<void(const XmlElement&)>& visit) const {
        visit(*this);
        for (const XmlElement& child : children) {
            child.walk(visit);
        }
    }
};

class XmlReader {
public:
    // The root element. Throws std::runtime_error with the place of the first fault.
    static XmlElement read(std::string_view xml) {
        XmlReader reader(xml);
        reader.checkCharacters();
        if (reader.takes("<?xml ")) {
            reader.until("?>");
        }
        reader.skipBlanks();
        XmlElement root = reader.element();
        reader.skipBlanks();
        reader.require(reader.rest.empty(), "something behind the root");
        return root;
    }

private:
    explicit XmlReader(std::string_view xml) : rest(xml), whole(xml.size()) {}

    void require(bool condition, const char* what) const {
        if (!condition) {
            throw std::runtime_error(std::string(what) + " at " + std::to_string(whole - rest.size()));
        }
    }
    bool takes(std::string_view token) {
        const bool found = rest.starts_with(token);
        rest.remove_prefix(found ? token.size() : 0);
        return found;
    }
    std::string_view until(std::string_view token) {
        const std::size_t end = rest.find(token);
        require(end != std::string_view::npos, "no end");
        const std::string_view before = rest.substr(0, end);
        rest.remove_prefix(end + token.size());
        return before;
    }
    void skipBlanks() {
        rest.remove_prefix(std::min(rest.find_first_not_of(" \t\r\n"), rest.size()));
    }
    void checkCharacters() const {
        std::size_t following = 0;
        for (const char c : rest) {
            const auto byte = static_cast<unsigned char>(c);
            const bool continues = (byte & 0xC0U) == 0x80U;
            require(continues == (following > 0), "no UTF-8");
            following = continues ? following - 1 : byte >= 0xF0 ? 3 : byte >= 0xE0 ? 2 : byte >= 0xC0 ? 1 : 0;
            require(byte >= 0x20 || c == '\t' || c == '\n' || c == '\r', "a control character");
        }
        require(following == 0, "no UTF-8");
    }
    std::string name() {
        const std::size_t end = rest.find_first_of(" \t\r\n/>=<&\"");
        require(end != std::string_view::npos && end > 0, "no name");
        const std::string found(rest.substr(0, end));
        rest.remove_prefix(end);
        return found;
    }
    std::string plain(std::string_view escaped) const {
        static const std::map<std::string_view, char> entities = {
            {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
        std::string out;
        while (!escaped.empty()) {
            if (escaped.front() != '&') {
                require(escaped.front() != '<', "a stray <");
                out += escaped.front();
                escaped.remove_prefix(1);
                continue;
            }
            const std::size_t end = escaped.find(';');
            require(end != std::string_view::npos, "a stray &");
            const auto entity = entities.find(escaped.substr(1, end - 1));
            require(entity != entities.end(), "an unknown entity");
            out += entity->second;
            escaped.remove_prefix(end + 1);
        }
        return out;
    }
    XmlElement element() {
        require(takes("<"), "no element");
        XmlElement made;
        made.name = name();
        for (skipBlanks(); !rest.starts_with('>') && !rest.starts_with('/'); skipBlanks()) {
            const std::string key = name();
            require(takes("=\""), "no value");
            require(made.attributes.emplace(key, plain(until("\""))).second, "an attribute twice");
        }
        if (takes("/>")) {
            return made;
        }
        require(takes(">"), "no end of a tag");
        for (;;) {
            made.text += plain(rest.substr(0, rest.find('<')));
            rest.remove_prefix(std::min(rest.find('<'), rest.size()));
            if (takes("</")) {
                require(name() == made.name, "another element ends");
                require(takes(">"), "no end of a tag");
                return made;
            }
            made.children.push_back(element());
        }
    }

    std::string_view rest;
    std::size_t whole;
};

#endif
