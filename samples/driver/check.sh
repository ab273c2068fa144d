#!/bin/sh
# Checks Sample.Channel against the contract of drivers. ORVO_DRIVER_PATH names the folder that it was built into, or it
# is "build" beside this file.
ORVO_DRIVER_PATH=${ORVO_DRIVER_PATH:-$(dirname "$0")/build}
export ORVO_DRIVER_PATH
exec orvo-driver-test Sample.Channel --kind SampleBoard \
  --item WO0 --item WO9 --item FL3 --item ST0000020 \
  --write WO0=4711 --write WO9=-1 --write FL3=2.5 --write "ST0000020=Vanilla 3%" \
  --wrong-item WO10 --wrong-item XX0 --wrong-item "" \
  --timeout 10 --quiet 0.1
