/*
 * Parses XML files into a tree of elements.
 *
 * Comments, processing instructions and attributes are ignored, and only the five predefined entities of XML
 * are expanded. Only one thread at a time may use a document.
 */
#ifndef QUOR_XML_H
#define QUOR_XML_H

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef struct xml_doc xml_doc;

/* An element of a document; it lives as long as the document. */
typedef struct xml_node xml_node;

/*
 * Parses a file.
 *
 * Returns the document, which the caller frees with xml_free_doc, or null if the file can't be read,
 * is not a regular file, is larger than OS_MEM_BLOCK_MAX, or is not well-formed. A file without elements
 * (empty, blank, comments only) gives a document without a root.
 */
xml_doc *xml_file_parse(const char *path);

/* Returns the root element, or null if doc is null or has no root element. */
xml_node *xml_get_doc_root(xml_doc *doc);

/*
 * Finds a child element.
 *
 * parent: null gives null. name: the child's name, case-sensitive; null matches any name.
 * Returns the first matching child, or null.
 */
xml_node *xml_get_child_node(xml_node *parent, const char *name);

/* Returns the next element after node with the same parent, or null. */
xml_node *xml_get_next_node(xml_node *node);

/* Returns the element's name, which belongs to the document; "" if node is null. */
const char *xml_get_node_name(xml_node *node);

/*
 * Returns the element's text, which belongs to the document; "" if it is empty or node is null. Pieces of
 * text before and after a comment, a CDATA section or a child are joined. Blank pieces between markup, and
 * the texts of children, are not included.
 */
const char *xml_get_node_value(xml_node *node);

/* Frees a document with all its elements and texts; null does nothing. */
void xml_free_doc(xml_doc *doc);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
