/*
 * Reading of XML files into a tree of elements.
 *
 * Comments, processing instructions and attributes are not shown, and no entity but the five of XML is
 * expanded. A document belongs to one thread at a time.
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
 * Reads a whole file.
 *
 * Returns the document, which the caller frees with xml_free_doc, or null when the file can't be read,
 * is no regular file, is larger than OS_MEM_BLOCK_MAX, or is not well-formed. A file in which no element
 * begins (empty, blank, comments only) gives a document without a root.
 */
xml_doc *xml_file_parse(const char *path);

/* Returns the root element, or null when there is none or doc is null. */
xml_node *xml_get_doc_root(xml_doc *doc);

/*
 * Finds a child element.
 *
 * parent: null gives null. name: of the child, case-sensitive; null stands for any name.
 * Returns the first such child, or null.
 */
xml_node *xml_get_child_node(xml_node *parent, const char *name);

/* Returns the element that follows node under the same parent, or null. */
xml_node *xml_get_next_node(xml_node *node);

/* Returns the element's name, which belongs to the document; "" when node is null. */
const char *xml_get_node_name(xml_node *node);

/*
 * Returns the element's own text, which belongs to the document; "" when it is empty or node is null. Pieces
 * between which a comment, a CDATA section or a child stands are joined; blank pieces between markup and the
 * texts of children are not part of it.
 */
const char *xml_get_node_value(xml_node *node);

/* Frees a document with all its elements and texts; null does nothing. */
void xml_free_doc(xml_doc *doc);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
