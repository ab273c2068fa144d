#!/bin/sh
# Checks Sample.Channel against the contract of drivers. ORVO_DRIVER_PATH names the folder that it was built into, or it
# is "build" beside this file.
ORVO_DRIVER_PATH=${ORVO_DRIVER_PATH:-$(dirname "$0")/build}
export ORVO_DRIVER_PATH
exec orvo-driver-test Sample.Channel --kind SampleBoard \
  --item R0 --item R9 --item F3 --item T0 \
  --write R0=4711 --write R9=-1 --write F3=2.5 --write "T0=Vanilla 3%" \
  --wrong-item R10 --wrong-item X0 --wrong-item "" \
  --timeout 2 --quiet 0.1
