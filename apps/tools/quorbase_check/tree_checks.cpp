#include <array>
#include <cstring>

#include "checks.h"
#include "json.h"
#include "list.h"
#include "xml.h"

namespace {

/* ---- Lists ----------------------------------------------------------------------------------------- */

/* A head with three nodes, added in order. */
struct ThreeNodes {
    explicit ThreeNodes(const Examination &that) {
        CALL(that, list_init)(&head);
        const auto add = CALL(that, list_add);
        for (list_node &node : nodes) {
            add(&head, &node);
        }
    }
    bool linked(const list_node &first, const list_node &second) const {
        return first.next == &second && second.prev == &first;
    }

    list_node head = {};
    std::array<list_node, 3> nodes = {};
};

/* ---- XML ------------------------------------------------------------------------------------------- */

constexpr char kXml[] =
    "<?xml version=\"1.0\"?>\n<root><!-- not an element "
    "--><first>one</first><second>two</second><empty/></root>\n";

/* A document with its root and its first child. */
struct Document {
    Document(const Examination &that, const std::string &text)
        : doc(CALL(that, xml_file_parse)(that.file("document.xml", text).c_str())) {
        that.expect(doc != nullptr, "can't be tried: xml_file_parse gives no document");
        root = CALL(that, xml_get_doc_root)(doc);
        that.expect(root != nullptr, "can't be tried: xml_get_doc_root gives no element");
    }
    xml_node *child(const Examination &that, const char *name) const {
        xml_node *const node = CALL(that, xml_get_child_node)(root, name);
        that.expect(node != nullptr, "can't be tried: xml_get_child_node finds no element");
        return node;
    }

    xml_doc *doc;
    xml_node *root = nullptr;
};

bool same(const char *text, const char *expected) {
    return text != nullptr && std::strcmp(text, expected) == 0;
}

/* Whatever a library makes of an entity, it is not the file's content. */
void expect_no_entity(const Examination &that) {
    const std::string secret = that.file("secret", "the secret");
    const std::string text = "<!DOCTYPE r [<!ENTITY e SYSTEM \"file://" + secret + "\">]><r>&e;</r>";
    const std::string path = that.file("entity.xml", text);
    xml_doc *const doc = CALL(that, xml_file_parse)(path.c_str());
    xml_node *const root = doc != nullptr ? CALL(that, xml_get_doc_root)(doc) : nullptr;
    const char *const value = root != nullptr ? CALL(that, xml_get_node_value)(root) : nullptr;
    that.expect(value == nullptr || std::strstr(value, "secret") == nullptr,
                "loads the file that an entity names");
}

/* ---- JSON ------------------------------------------------------------------------------------------ */

/* The member of an object. The contract has no call that makes a document: it is our json_parse, or the call
 * that the command line names. */
const json_item *member(const Examination &that, const char *name) {
    const auto find = CALL(that, json_get_object_item);
    const std::string &name_of_parse = that.subject().json_parse;
    void *const address = that.loaded().address(name_of_parse.c_str());
    if (address == nullptr) {
        that.end(Verdict::kNotCalled,
                 "needs a document, and the library has no " + name_of_parse + " (see --json-parse)");
    }
    const auto parse = reinterpret_cast<decltype(&json_parse)>(address);
    const json_item *const root = parse(R"({"text": "seven", "number": -7000000000, "half": 0.5})");
    that.expect(root != nullptr, "can't be tried: " + name_of_parse + " gives no document");
    return find(root, name);
}

const json_item *present(const Examination &that, const char *name) {
    const json_item *const item = member(that, name);
    that.expect(item != nullptr, "can't be tried: json_get_object_item finds no member");
    return item;
}

}  // namespace

void checks::check_list_init(const Examination &that) {
    list_node head = {};
    CALL(that, list_init)(&head);
    that.expect(head.next == &head && head.prev == &head, "does not link an empty list's head to itself");
}

void checks::check_list_add(const Examination &that) {
    const ThreeNodes list(that);
    const bool in_order = list.linked(list.head, list.nodes[0]) &&
                          list.linked(list.nodes[0], list.nodes[1]) &&
                          list.linked(list.nodes[1], list.nodes[2]) && list.linked(list.nodes[2], list.head);
    that.expect(in_order, "does not append at the tail, or does not link both ways round to the head");
}

void checks::check_list_del(const Examination &that) {
    ThreeNodes list(that);
    const auto remove = CALL(that, list_del);
    remove(&list.nodes[1]);
    that.expect(list.linked(list.nodes[0], list.nodes[2]), "does not unlink a node in the middle");
    remove(&list.nodes[0]);
    remove(&list.nodes[2]);
    that.expect(list.linked(list.head, list.head), "does not leave an empty list");
}

void checks::check_xml_file_parse(const Examination &that) {
    const auto parse = CALL(that, xml_file_parse);
    that.expect(parse(that.path("missing").c_str()) == nullptr, "gives a document for a missing file");
    that.expect(parse(that.file("broken.xml", "<root><first></root>").c_str()) == nullptr,
                "gives a document for a text that is not well-formed");
    that.expect(parse(that.file("document.xml", kXml).c_str()) != nullptr, "gives no document");
    expect_no_entity(that);
}

void checks::check_xml_get_doc_root(const Examination &that) {
    const Document document(that, kXml);
    that.expect(same(CALL(that, xml_get_node_name)(document.root), "root"), "gives another element");
}

void checks::check_xml_get_child_node(const Examination &that) {
    const Document document(that, kXml);
    const auto child = CALL(that, xml_get_child_node);
    const auto name = CALL(that, xml_get_node_name);
    that.expect(same(name(document.child(that, "second")), "second"),
                "gives another child than the one named");
    that.expect(child(document.root, "missing") == nullptr, "gives a child that is missing");
    that.expect(same(name(document.child(that, nullptr)), "first"),
                "does not give the first element, past a comment, for a null name");
}

void checks::check_xml_get_next_node(const Examination &that) {
    const Document document(that, kXml);
    const auto next = CALL(that, xml_get_next_node);
    xml_node *const second = next(document.child(that, "first"));
    that.expect(second != nullptr && same(CALL(that, xml_get_node_name)(second), "second"),
                "does not give the next element");
    that.expect(next(document.child(that, "empty")) == nullptr, "gives an element after the last one");
}

void checks::check_xml_get_node_name(const Examination &that) {
    const Document document(that, kXml);
    that.expect(same(CALL(that, xml_get_node_name)(document.child(that, "first")), "first"),
                "gives another name");
}

void checks::check_xml_get_node_value(const Examination &that) {
    const Document document(that, kXml);
    const auto value = CALL(that, xml_get_node_value);
    that.expect(same(value(document.child(that, "first")), "one"), "gives another text");
    const char *const empty = value(document.child(that, "empty"));
    that.expect(empty == nullptr || empty[0] == '\0', "gives a text for an element without one");
}

void checks::check_xml_free_doc(const Examination &that) {
    CALL(that, xml_free_doc)(Document(that, kXml).doc);
}

void checks::check_json_get_object_item(const Examination &that) {
    that.expect(member(that, "text") != nullptr, "does not find a member");
    that.expect(member(that, "missing") == nullptr, "finds a member that is missing");
}

void checks::check_json_is_string(const Examination &that) {
    const auto is_string = CALL(that, json_is_string);
    that.expect(is_string(present(that, "text")) != 0, "does not know a string");
    that.expect(is_string(present(that, "number")) == 0, "takes a number for a string");
}

void checks::check_json_get_string(const Examination &that) {
    that.expect(same(CALL(that, json_get_string)(present(that, "text")), "seven"), "gives another text");
}

void checks::check_json_get_int64(const Examination &that) {
    that.expect(CALL(that, json_get_int64)(present(that, "number")) == -7000000000, "gives another number");
}

void checks::check_json_get_double(const Examination &that) {
    const double half = 0.5;
    that.expect(CALL(that, json_get_double)(present(that, "half")) == half, "gives another number");
}
