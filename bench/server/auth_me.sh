#!/usr/bin/env bash
# Throughput of GET /auth/me with a valid bearer token: a fresh demo household in a
# temporary folder, lumen-api on a free loopback port, then wrk with 2 threads and
# 16 connections for 10 seconds.
#   bench/server/auth_me.sh [path/to/lumen-api]     (DURATION=30s to run longer)
set -euo pipefail

lumen_api=${1:-${LUMEN_API:-lumen-api}}
duration=${DURATION:-10s}
for tool in wrk curl "$lumen_api"; do
  command -v "$tool" >/dev/null || { echo "auth_me.sh: $tool not found" >&2; exit 1; }
done

work=$(mktemp -d)
server_pid=""
cleanup() {
  if [ -n "$server_pid" ]; then
    kill -TERM "$server_pid" 2>/dev/null || true
    wait "$server_pid" 2>/dev/null || true
  fi
  rm -rf "$work"
}
trap cleanup EXIT

password="bench-$(date +%s)"
"$lumen_api" seed-demo --data-dir "$work/data" --password "$password" >/dev/null
"$lumen_api" serve --data-dir "$work/data" --listen 127.0.0.1:0 >"$work/serve.log" 2>&1 &
server_pid=$!

# The server prints its address once it accepts requests.
base=""
for _ in $(seq 1 100); do
  base=$(sed -n 's/^lumen-api listening on \(http:[^ ]*\).*/\1/p' "$work/serve.log")
  [ -n "$base" ] && break
  kill -0 "$server_pid" 2>/dev/null || { cat "$work/serve.log" >&2; exit 1; }
  sleep 0.1
done
[ -n "$base" ] || { echo "auth_me.sh: lumen-api did not start" >&2; exit 1; }

token=$(curl -sf -X POST "$base/auth/login" -H 'Content-Type: application/json' \
  -d "{\"username\":\"velmar\",\"password\":\"$password\"}" | sed -n 's/.*"token":"\([^"]*\)".*/\1/p')
[ -n "$token" ] || { echo "auth_me.sh: login failed" >&2; exit 1; }
curl -sf "$base/auth/me" -H "Authorization: Bearer $token" | grep -q '"relations"' \
  || { echo "auth_me.sh: /auth/me did not answer a profile" >&2; exit 1; }

echo "GET $base/auth/me (token of velmar, one member bound), wrk -t2 -c16 -d$duration, $(nproc) cores"
wrk -t2 -c16 -d"$duration" --latency -H "Authorization: Bearer $token" "$base/auth/me"
