#include "cli/request_outcome.h"

#include "cli/code_hint.h"
#include "cli/complaint.h"
#include "device/service_socket.h"
#include "frwk_common.h"

namespace {

const void *data_of(const std::string &body) {
    return body.empty() ? nullptr : body.data();
}

/* Describes a failed delivery. The result code of a failed connection doesn't say why it failed. */
std::string delivery_words(apps_err_e_type sent, uint32_t module) {
    switch (sent) {
        case E_APPS_ERR_MODULE:
            return absence_words(module);
        case E_APPS_ERR_TIMEOUT:
            return "did not answer in time";
        case E_APPS_ERR_READ:
            return "went away without an answer";
        case E_APPS_ERR_WRITE:
            return "did not take the request";
        default:
            return "could not be asked";
    }
}

bool unreachable(apps_err_e_type sent) {
    return sent == E_APPS_ERR_MODULE || sent == E_APPS_ERR_TIMEOUT || sent == E_APPS_ERR_READ ||
           sent == E_APPS_ERR_WRITE;
}

}  // namespace

RequestOutcome send_request(uint32_t module, apps_message_id_e_type msgid, const std::string &body,
                            std::string *answer, uint32_t seconds) {
    RequestOutcome outcome = {E_APPS_ERR_SUCCESS, E_APPS_ERR_SUCCESS};
    const auto size = static_cast<uint32_t>(answer != nullptr ? answer->size() : 0);
    outcome.sent = frwk_ipc_send_sync(module, msgid, data_of(body), static_cast<uint32_t>(body.size()),
                                      size > 0 ? answer->data() : nullptr, size, seconds, &outcome.result);
    return outcome;
}

RequestOutcome send_message(uint32_t module, apps_message_id_e_type msgid, const std::string &body,
                            uint32_t seconds) {
    const apps_err_e_type sent =
        frwk_ipc_send_async(module, msgid, data_of(body), static_cast<uint32_t>(body.size()), seconds);
    return {sent, E_APPS_ERR_SUCCESS};
}

ExitCode exit_code_of(const RequestOutcome &outcome) {
    if (outcome.done()) {
        return ExitCode::kDone;
    }
    return unreachable(outcome.sent) ? ExitCode::kUnreachable : ExitCode::kRefused;
}

ExitCode report_outcome(const RequestOutcome &outcome, uint32_t module, const std::string &what,
                        const std::string &hint) {
    const ExitCode code = exit_code_of(outcome);
    if (code == ExitCode::kDone) {
        return code;
    }
    if (outcome.delivered()) {
        const std::string known = hint.empty() ? code_hint(outcome.result) : hint;
        return complain(code, what + " failed: " + code_text(outcome.result) + known);
    }
    const char *name = frwk_module_name(static_cast<int32_t>(module));
    return complain(code, what + " failed: " + (name != nullptr ? name : "the module") + " " +
                              delivery_words(outcome.sent, module) + ": " + code_text(outcome.sent));
}
