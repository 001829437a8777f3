#include "monitor_tool/module_list.h"

#include "monitor_tool/module_columns.h"

namespace {

void print_json_reports(const std::vector<ModuleReport> &reports) {
    const Json items = json_items();
    for (const ModuleReport &report : reports) {
        add_item(items, report_as_json(report));
    }
    print_json(items);
}

}  // namespace

ExitCode list_modules(const MonitorOptions &options) {
    std::vector<ModuleReport> reports = report_all(options.limit());
    if (options.running) {
        keep_running(reports);
    }
    sort_reports(reports, options.sort, options.reverse);
    if (options.sort.empty() && !options.reverse) {
        put_trouble_first(reports);
    }
    if (options.json) {
        print_json_reports(reports);
    } else {
        print_reports(reports);
    }
    return ExitCode::kDone;
}
