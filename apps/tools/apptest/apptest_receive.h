/*
 * The commands of apptest that receive messages, until a limit is reached, or Ctrl-C.
 */
#pragma once

#include "apptest/apptest_options.h"

/* Subscribes to events and prints the messages; ends the subscriptions afterwards. */
ExitCode subscribe_to_events(const AppTestOptions &options);

/* Plays a module: prints messages and answers them as scripted. */
ExitCode serve_as_module(const AppTestOptions &options);
