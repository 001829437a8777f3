/*
 * XML by pugixml and JSON by json-c. A handle is the library's own pointer; what is not there, a value
 * included, is null.
 */
#include <json-c/json_object.h>

#include <new>
#include <pugixml.hpp>

#include "json.h"
#include "xml.h"

namespace {

pugi::xml_node node_of(xml_node *handle) {
    return pugi::xml_node(reinterpret_cast<pugi::xml_node_struct *>(handle));
}

xml_node *element_from(pugi::xml_node node) {
    while (node && node.type() != pugi::node_element) {
        node = node.next_sibling();
    }
    return reinterpret_cast<xml_node *>(node.internal_object());
}

json_object *object_of(const json_item *item) {
    return reinterpret_cast<json_object *>(const_cast<json_item *>(item));
}

}  // namespace

struct xml_doc {
    pugi::xml_document document;
};

xml_doc *xml_file_parse(const char *path) {
    auto *doc = new (std::nothrow) xml_doc;
    if (doc != nullptr && !doc->document.load_file(path)) {
        delete doc;
        return nullptr;
    }
    return doc;
}

xml_node *xml_get_doc_root(xml_doc *doc) {
    return element_from(doc->document.first_child());
}

xml_node *xml_get_child_node(xml_node *parent, const char *name) {
    return element_from(name != nullptr ? node_of(parent).child(name) : node_of(parent).first_child());
}

xml_node *xml_get_next_node(xml_node *node) {
    return element_from(node_of(node).next_sibling());
}

const char *xml_get_node_name(xml_node *node) {
    return node_of(node).name();
}

const char *xml_get_node_value(xml_node *node) {
    const char *value = node_of(node).child_value();
    return value[0] != '\0' ? value : nullptr;
}

void xml_free_doc(xml_doc *doc) {
    delete doc;
}

json_item *json_get_object_item(const json_item *object, const char *name) {
    return reinterpret_cast<json_item *>(json_object_object_get(object_of(object), name));
}

int32_t json_is_string(const json_item *item) {
    return json_object_is_type(object_of(item), json_type_string);
}

const char *json_get_string(const json_item *item) {
    return json_is_string(item) != 0 ? json_object_get_string(object_of(item)) : nullptr;
}

int64_t json_get_int64(const json_item *item) {
    return json_object_get_int64(object_of(item));
}

double json_get_double(const json_item *item) {
    return json_object_get_double(object_of(item));
}
