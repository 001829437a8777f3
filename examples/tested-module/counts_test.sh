#!/bin/sh
# The setting allows two messages, and three come.
set -eu

for _ in 1 2 3; do
    apptest notify sms sms_notify_new_msg
done
apptest call sms sms_get_msg_count --room 4 --dump | grep '^00000000  02 '
