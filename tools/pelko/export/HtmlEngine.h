#ifndef PELKO_TOOL_EXPORT_HTML_ENGINE_H
#define PELKO_TOOL_EXPORT_HTML_ENGINE_H

// The template engine, whose headers use strlen() without including it.
#include <cstring>

#include <ctemplate/template_cache.h>
#include <ctemplate/template_dictionary.h>

#endif  // PELKO_TOOL_EXPORT_HTML_ENGINE_H
