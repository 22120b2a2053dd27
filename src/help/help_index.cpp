#include "help/help_index.h"

#include "logkit/component_logger.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <filesystem>
#include <memory>
#include <string_view>

namespace panedeck {

namespace {

using links_t = std::map<std::string, std::string>;

struct free_context_t {
    void operator()(xmlParserCtxt* context) const { xmlFreeParserCtxt(context); }
};
struct free_document_t {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using context_t = std::unique_ptr<xmlParserCtxt, free_context_t>;
using document_t = std::unique_ptr<xmlDoc, free_document_t>;

/// Called at a document type declaration, ahead of what stands in it.
void refuseDocumentType(void* context, const xmlChar*, const xmlChar*, const xmlChar*) {
    xmlStopParser(static_cast<xmlParserCtxt*>(context));
}

std::string problemOf(xmlParserCtxt& context) {
    const xmlError* error = xmlCtxtGetLastError(&context);
    const std::string_view problem = error && error->message ? error->message : "it is no XML";
    return std::string(problem.substr(0, problem.find('\n')));
}

/// Null for what cannot be read.
document_t parse(const std::string& path) {
    const context_t context(xmlNewParserCtxt());
    if (!context) return nullptr;
    context->sax->internalSubset = refuseDocumentType;
    const int options = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
    document_t document(xmlCtxtReadFile(context.get(), path.c_str(), nullptr, options));
    const bool isRefused = context->errNo == XML_ERR_USER_STOP;
    if (document && context->wellFormed && !isRefused) return document;
    const std::string why = isRefused ? "it declares a document type" : problemOf(*context);
    logkit1::log(logkit1::level_t::warning, "The help index " + path + " cannot be read: " + why);
    return nullptr;
}

bool isElement(const xmlNode* node, std::string_view name) {
    return node->type == XML_ELEMENT_NODE && name == reinterpret_cast<const char*>(node->name);
}

xmlNode* findChild(xmlNode* parent, std::string_view name) {
    xmlNode* child = parent->children;
    while (child && !isElement(child, name))
        child = child->next;
    return child;
}

/// False if there is no such attribute.
bool readAttribute(xmlNode* element, const char* name, std::string& text) {
    xmlChar* const value = xmlGetProp(element, reinterpret_cast<const xmlChar*>(name));
    if (value) text = reinterpret_cast<const char*>(value);
    xmlFree(value);
    return value != nullptr;
}

void addKeyword(xmlNode* keyword, links_t& links) {
    xmlNode* const jump = findChild(keyword, "Jump");
    std::string term;
    std::string url;
    if (jump && readAttribute(keyword, "Term", term) && readAttribute(jump, "Url", url)) links[term] = url;
}

} // namespace

links_t readHelpIndex(const std::string& path) {
    links_t links;
    std::error_code error;
    if (!std::filesystem::exists(path, error)) return links;
    const document_t document = parse(path);
    xmlNode* const root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    for (xmlNode* node = root ? root->children : nullptr; node; node = node->next)
        if (isElement(node, "Keyword")) addKeyword(node, links);
    return links;
}

} // namespace panedeck
