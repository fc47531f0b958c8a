#!/usr/bin/env bash
# A broker on loopback and a client that writes down what it hears, until this is ended.
# Usage: broker.sh FOLDER; FOLDER/port has the port once it listens, FOLDER/heard a line for each message.
set -euo pipefail
PATH=$PATH:/usr/sbin
mkdir -p "$1"
trap 'kill $(jobs -p) 2>/dev/null || true' EXIT
trap 'exit 0' TERM
for ((try = 0; try < 20; try++)); do
    port=$((20000 + RANDOM % 10000))
    mosquitto -p "$port" >"$1/log" 2>&1 &
    broker=$!
    for ((i = 0; i < 50; i++)); do
        if (: <>"/dev/tcp/127.0.0.1/$port") 2>/dev/null && kill -0 "$broker" 2>/dev/null; then
            mosquitto_sub -p "$port" -t '#' -v >"$1/heard" &
            echo "$port" >"$1/port"
            wait
            exit 0
        fi
        kill -0 "$broker" 2>/dev/null || break
        sleep 0.1
    done
done
