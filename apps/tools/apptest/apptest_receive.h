/*
 * The commands of apptest that take messages: they serve until they have had enough, or Ctrl-C.
 */
#pragma once

#include "apptest/apptest_options.h"

/* Subscribes to events and prints what arrives; ends the subscriptions afterwards. */
ExitCode subscribe_to_events(const AppTestOptions &options);

/* Plays a module: prints what arrives and answers as scripted. */
ExitCode serve_as_module(const AppTestOptions &options);
