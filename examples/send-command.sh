#!/bin/sh
# Sends one command to a running Corvane runtime over D-Bus with gdbus
# (package libglib2.0-bin). Without arguments it presses the "Tare" button of
# the balance-dde.json runtime on COM1, which sends that output string to the
# balance.
#
#   examples/send-command.sh                      # {PUSH(Tare)} to Corvane on COM1
#   examples/send-command.sh COM1 '{SEND(P)}'     # any command, to any topic
#
# A refused command exits non-zero with org.corvane.Dde1.Error.Refused. The
# same with Corvane itself: corvane dde execute Corvane COM1 '{PUSH(Tare)}'
topic=${1:-COM1}
command=${2:-'{PUSH(Tare)}'}
exec gdbus call --session --dest "org.corvane.Corvane.$topic" \
    --object-path /org/corvane/Dde --method org.corvane.Dde1.Execute "$command"
