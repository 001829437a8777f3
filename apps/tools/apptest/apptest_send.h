/*
 * The commands of apptest that send one message.
 */
#pragma once

#include "apptest/apptest_options.h"

ExitCode call_module(const AppTestOptions &options);
ExitCode send_to_module(const AppTestOptions &options);
ExitCode notify_module(const AppTestOptions &options);
ExitCode broadcast_message(const AppTestOptions &options);

/* The message is the one that has the event's name, unless another is given. */
ExitCode publish_event(const AppTestOptions &options);

/* Lists the messages whose name has the text in it. */
ExitCode list_messages(const AppTestOptions &options);
