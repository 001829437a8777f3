/*
 * The command of apptest that lists the messages.
 */
#include "apptest/apptest_options.h"
#include "cli/command_line_tool.h"
#include "cli/text_match.h"
#include "frwk_common.h"
#include "output/json_output.h"
#include "output/text_table.h"

namespace {

/* Lists the messages whose names contain the text. */
ExitCode list_messages(const AppTestOptions &options) {
    TextTable table({"NUMBER", "NAME"});
    const Json items = json_items();
    for (const zn_enum_item &row : g_enum_apps_message_id_e_type) {
        if (!contains_like(row.name, options.message)) {
            continue;
        }
        table.add({std::to_string(row.value), row.name});
        Json item = json_members();
        add_member(item, "number", json_number(row.value));
        add_member(item, "name", json_text(row.name));
        add_item(items, std::move(item));
    }
    if (options.json) {
        print_json(items);
    } else {
        table.print();
    }
    return ExitCode::kDone;
}

// ---- the command line ----

AppTestOptions g_options;

void declare(CommandLineTool &tool) {
    Command messages = tool.add("messages", "List the messages and their numbers", "apptest messages WLAN\n",
                                g_options.runs(list_messages));
    messages.add("TEXT", g_options.message, "Only those with this text in the name");
    g_options.add_json(messages, "Print JSON");
}

const CommandGroup kCommands(4, declare);

}  // namespace
