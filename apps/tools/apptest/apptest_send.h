/*
 * The commands of apptest that send one message.
 */
#pragma once

#include "apptest/apptest_options.h"

ExitCode call_module(const AppTestOptions &options);
ExitCode send_to_module(const AppTestOptions &options);
ExitCode notify_module(const AppTestOptions &options);
ExitCode broadcast_message(const AppTestOptions &options);

/* Sends the message with the event's name, unless another one is given. */
ExitCode publish_event(const AppTestOptions &options);

/* Lists the messages whose names contain the text. */
ExitCode list_messages(const AppTestOptions &options);
