/*
 * A test of the trace mask: the files that ask for tracing, and the mask, in the device tree.
 */
#pragma once

#include <filesystem>
#include <string>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "frwk_utils.h"
#include "support/files.h"
#include "unit/frwk_common/module_fixture.h"

inline constexpr char kMaskFile[] = "/m_data/usr/mask/mal_service";

class TraceMaskTest : public ModuleTest {
  protected:
    TraceMaskTest() {
        for (const char *folder : {"/m_data/usr/trace", "/m_data/usr/mask", "/m_data/factor/apps_disable"}) {
            std::filesystem::remove_all(folder);
        }
        std::filesystem::create_directories("/m_data/usr/trace");
        std::filesystem::create_directories("/m_data/factor/apps_disable");
        doubles::libc::sync.stand_in([] {});
    }

    static void switch_on() { ask_for("mal_service"); }

    /* Puts a file into the trace folder. */
    static void ask_for(const std::string &name) { write_file("/m_data/usr/trace/" + name, ""); }

    /* A module of the start-up list that is to be traced. */
    static void trace(int32_t id) {
        frwk_module_set(id, FRWK_FLAG_RUN);
        ask_for(frwk_module_name(id));
    }

    /* A mask of an earlier time. */
    static void leave_mask(const std::string &text) {
        std::filesystem::create_directories("/m_data/usr/mask");
        write_file(kMaskFile, text);
    }

    /* The mask that a successful call leaves; "(none)" for none. */
    static std::string mask() {
        EXPECT_EQ(1, frwk_set_mals_tracemask());
        return exists(kMaskFile) ? read_file(kMaskFile) : "(none)";
    }
};
