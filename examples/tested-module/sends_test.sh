#!/bin/sh
# The network module answers the first request, and is busy from then on.
set -eu

apptest call sms sms_mo_send_msg --room 32 | grep -x 'sent by LTE'
! apptest call sms sms_mo_send_msg --room 32 || exit 1
