#include "unit/frwk_utils/event_doubles.h"

std::vector<PublishedEvent> &published_events() {
    static std::vector<PublishedEvent> events;
    return events;
}

extern "C" void __wrap_frwk_ipc_msg_pub(const char *event, apps_message_id_e_type msgid, const void *data,
                                        uint32_t len) {
    published_events().push_back({event, msgid, data, len});
}
