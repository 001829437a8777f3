/*
 * Parses XML files with pugixml. Only this file uses that library.
 *
 * The file is opened here, not by the library: it must be a regular file, and commands must not inherit its
 * descriptor. An element's handle is the library's pointer.
 */
#include "xml.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <pugixml.hpp>

#include "os_mem.h"
#include "support/file_io.h"
#include "support/unique_fd.h"

namespace {

/* A file's bytes; the elements of the document point into them. */
class FileBytes {
  public:
    FileBytes() = default;
    ~FileBytes() { free(data_); }
    FileBytes(const FileBytes &) = delete;
    FileBytes &operator=(const FileBytes &) = delete;

    /* Reads up to capacity bytes; fewer if the file has become shorter. Call it once. */
    bool read_from(int fd, size_t capacity) {
        data_ = static_cast<char *>(malloc(capacity + 1));
        return data_ != nullptr && file_io::read_up_to(fd, data_, capacity, &size_);
    }

    char *data() { return data_; }
    size_t size() const { return size_; }

  private:
    char *data_ = nullptr;
    size_t size_ = 0;
};

bool read_file(const char *path, FileBytes *bytes) {
    struct stat found;
    const UniqueFd fd = file_io::open_regular(path, &found);
    if (!fd || static_cast<uint64_t>(found.st_size) > OS_MEM_BLOCK_MAX) {
        return false;
    }
    return bytes->read_from(fd.get(), static_cast<size_t>(found.st_size));
}

bool is_usable(const pugi::xml_parse_result &result) {
    return result.status == pugi::status_ok || result.status == pugi::status_no_document_element;
}

pugi::xml_node node_of(xml_node *handle) {
    return pugi::xml_node(reinterpret_cast<pugi::xml_node_struct *>(handle));
}

xml_node *handle_of(const pugi::xml_node &node) {
    return reinterpret_cast<xml_node *>(node.internal_object());
}

bool is_element(const pugi::xml_node &node) {
    return node.type() == pugi::node_element;
}

bool is_text(const pugi::xml_node &node) {
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

pugi::xml_node first_or_next(pugi::xml_node node, bool (*wanted)(const pugi::xml_node &)) {
    while (node && !wanted(node)) {
        node = node.next_sibling();
    }
    return node;
}

/* The total length of the text in first and all the pieces after it. */
size_t whole_length(const pugi::xml_node &first) {
    size_t length = 0;
    for (pugi::xml_node piece = first; piece; piece = first_or_next(piece.next_sibling(), is_text)) {
        length += strlen(piece.value());
    }
    return length;
}

/* Appends the text of all pieces after first to whole, and removes these pieces from the document. */
void take_pieces(const pugi::xml_node &first, char *whole) {
    char *end = stpcpy(whole, first.value());
    pugi::xml_node piece = first_or_next(first.next_sibling(), is_text);
    while (piece) {
        end = stpcpy(end, piece.value());
        const pugi::xml_node next = first_or_next(piece.next_sibling(), is_text);
        piece.parent().remove_child(piece);
        piece = next;
    }
}

/* A comment or CDATA section splits a text into pieces. Joins them into one, which the document owns. */
void join_pieces(pugi::xml_node first) {
    char *whole = static_cast<char *>(malloc(whole_length(first) + 1));
    if (whole == nullptr) {
        return;
    }
    take_pieces(first, whole);
    first.set_value(whole);
    free(whole);
}

}  // namespace

struct xml_doc {
    FileBytes bytes;
    pugi::xml_document document;
};

xml_doc *xml_file_parse(const char *path) {
    void *place = path != nullptr ? malloc(sizeof(xml_doc)) : nullptr;
    if (place == nullptr) {
        return nullptr;
    }

    auto *doc = new (place) xml_doc;
    FileBytes &bytes = doc->bytes;
    if (!read_file(path, &bytes) ||
        !is_usable(doc->document.load_buffer_inplace(bytes.data(), bytes.size()))) {
        xml_free_doc(doc);
        return nullptr;
    }
    return doc;
}

xml_node *xml_get_doc_root(xml_doc *doc) {
    return doc != nullptr ? handle_of(doc->document.document_element()) : nullptr;
}

xml_node *xml_get_child_node(xml_node *parent, const char *name) {
    if (name != nullptr) {
        return handle_of(node_of(parent).child(name));
    }
    return handle_of(first_or_next(node_of(parent).first_child(), is_element));
}

xml_node *xml_get_next_node(xml_node *node) {
    return handle_of(first_or_next(node_of(node).next_sibling(), is_element));
}

const char *xml_get_node_name(xml_node *node) {
    return node_of(node).name();
}

const char *xml_get_node_value(xml_node *node) {
    const pugi::xml_node first = first_or_next(node_of(node).first_child(), is_text);
    if (first_or_next(first.next_sibling(), is_text)) {
        join_pieces(first);
    }
    return first.value();
}

void xml_free_doc(xml_doc *doc) {
    if (doc != nullptr) {
        doc->~xml_doc();
        free(doc);
    }
}
