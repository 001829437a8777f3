/*
 * What "monitor_tool top" shows of the modules, as its keys change it. Pure.
 */
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "monitor_tool/module_report.h"

struct TopView {
    std::string sort; /* the column that modules are sorted by */
    bool reverse = false;
    bool running = false; /* only modules that run */
    std::string filter;   /* part of a name, an alias or a state; "" for all */
    bool typing = false;  /* the filter */
    bool help = false;    /* the keys are shown instead */
    size_t first = 0;     /* of the modules that are shown */

    /* The reports that are shown, in their order: modules in trouble first. */
    std::vector<ModuleReport> selected(std::vector<ModuleReport> reports) const;
};

enum class TopReaction {
    kNone,
    kRedraw,
    kQuit
};

/*
 * Obeys a key.
 *
 * count: the number of modules that could be shown. page: the number that fits the screen.
 */
TopReaction obey(TopView &view, int key, size_t count, size_t page);

/* The first module that is shown: fewer may have been left than the view has scrolled over. */
size_t first_shown(const TopView &view, size_t count, size_t page);

/* The keys and what they do. */
struct KeyHelp {
    const char *keys;
    const char *meaning;
};
const std::vector<KeyHelp> &top_keys();
