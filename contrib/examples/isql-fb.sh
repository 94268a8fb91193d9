#!/bin/sh
# The supported way to look into the service's embedded database with Firebird's isql-fb
# (package firebird3.0-utils) while the service runs: as the user vornleads, with the
# lock directory beside the database file and the shared (SuperClassic) engine configuration
# the vornleads commands prepare, so that both see each other's locks. Another lock directory
# corrupts the file; Firebird's default (Super) mode is locked out, or locks the service out.
#   sh /usr/share/doc/vornleads/examples/isql-fb.sh [DATABASE]
# Read-only queries are safe; do not change the integration's tables while it runs.
set -e
db="${1:-/var/lib/vornleads/dms.fdb}"
uid="$(id -u vornleads)"
# A vornleads command that opens the database prepares the shared configuration of its user.
sudo -u vornleads vornleads --db "$db" updates --limit 1 >/dev/null
exec sudo -u vornleads env FIREBIRD="/tmp/vornleads-firebird-$uid" \
  FIREBIRD_LOCK="$(dirname "$db")/firebird-lock" isql-fb -user SYSDBA "$db"
