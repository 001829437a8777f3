#include "zndb_tool/zndb_options.h"

#include "device/module_identity.h"
#include "formats/zndb_apply_wire.h"
#include "frwk_module.h"
#include "zndb_tool/typed_word.h"

void ZndbOptions::add_keys(const Command &command) {
    command.add("KEY", keys, "Name of a setting").required();
}

void ZndbOptions::add_store(const Command &command, bool with_defaults) {
    command.flag("--perm", perm, "The perm store, which a reset doesn't clear");
    if (with_defaults) {
        command.flag("--default", defaults, "The defaults; changes go to the factory overlay")
            .excludes("--perm");
    }
}

void ZndbOptions::add_own_store(const Command &command) {
    add_store(command, false);
    command.flag("--factory", factory, "The factory overlay, without the defaults of the image")
        .excludes("--perm");
}

void ZndbOptions::add_confirm_within(const Command &command, const char *purpose) {
    command.add("--confirm-within", confirm_within, purpose).value("SECONDS").within(1, kConfirmSecondsMax);
}

void ZndbOptions::add_value_form(const Command &command) {
    command.add("--type", type, "Type of the value: string, uint, bool and so on")
        .value("TYPE")
        .one_of("type", type_names);
    command.flag("--list", list, "The value is a list of items");
    command.add("--item", item, "One item of the list, from 1").value("N").positive().excludes("--list");
    command.flag("--secret", secret, "The value is stored encrypted, in the plain store")
        .excludes("--type")
        .excludes("--list")
        .excludes("--item")
        .excludes("--perm")
        .excludes("--default");
}

void ZndbOptions::add_json(const Command &command) {
    command.flag("--json", json, "Print JSON");
}

void ZndbOptions::add_save(const Command &command) {
    command.flag("--save", save, "Save afterwards, so that it survives a power cut");
}

CommandLineTool::Run ZndbOptions::runs(ExitCode (*command)(const ZndbOptions &options)) const {
    return [this, command] {
        become_module(E_APPS_MODULE_ZNDB_TOOL);
        return command(*this);
    };
}
