#!/usr/bin/env bash
# Scanning every browser item: the whole `tpc scan browsers` run (start-up, scan, printing the
# table) against BleachBit's `--preview` of the matching Chromium and Firefox options, on the same
# real browser profiles, in one run, with the peak memory of each. Run by hand, never by CI.
#
#   bench/scan_browsers_bench.sh [--runs R] [--pages N] [--visits V] [--tpc PATH] [--dir DIR]
#                                [--keep]
#
# Builds a fake home under DIR (default $TMPDIR or /tmp) and fills it with the real browsers:
# Chromium and Firefox ESR, headless, each walk a chain of N local pages (default 300) served by
# python3's http.server on 127.0.0.1, switching between the hosts 127.0.0.1 and localhost every 25
# pages. Every page sets cookies through document.cookie, writes localStorage, sessionStorage and
# IndexedDB, shows three pictures and a page icon; every tenth page is left by submitting a form,
# and a few pages start a download. The browsers leave behind their own history, cache, cookies,
# site storage, icons, sessions and form entries.
#
# Then sqlite3 adds what a headless walk cannot make, in the tables the browsers created:
# history up to V visits a browser (default 10,000; 0 adds none) over half as many pages of 400
# sites, saved passwords (Chromium "Login Data", Firefox "logins.db"), more form entries (Chromium
# "Web Data"; Firefox "formhistory.sqlite", which it only writes for typed values) and per-site
# zoom levels (Firefox "content-prefs.sqlite").
#
# Before timing, it prints side by side what each tool finds: `tpc count` of every item and
# BleachBit's preview of each option (files, their bytes as files count them, and the "Clean
# file" operations whose size a preview does not work out), grouped as below. Then it runs each
# command R times (default 10), alternating who goes first, on a warm cache, and reports the
# median and least wall time and the peak resident memory (GNU time's %M) of each, and that the
# profiles gave the same totals after the timed runs as before.
#
#   tpc rows                                     BleachBit options
#   Chromium Internet History, Site Icons,       chromium.history
#            Top Sites
#   Chromium Internet Cache                      chromium.cache
#   Chromium Cookies                             chromium.cookies
#   Chromium Current/Last Session, Current/Last  chromium.session
#            Tabs
#   Chromium Saved Form Information              chromium.form_history
#   Chromium Saved Passwords                     chromium.passwords
#   Chromium Site Storage                        chromium.dom
#   Firefox  Internet History, Download History  firefox.url_history
#   Firefox  Internet Cache, Application Cache   firefox.cache
#   Firefox  Cookies, Site Storage               firefox.cookies, firefox.dom
#   Firefox  Saved Form Information              firefox.forms
#   Firefox  Saved Passwords                     firefox.passwords
#   Firefox  Sessions                            firefox.session_restore
#   Firefox  Site Preferences                    firefox.site_preferences
#
# chromium.site_preferences (a key of "Preferences") has no tpc row and is left out, as are the
# options that match nothing tpc does (vacuum, search engines, sync, backups, crash reports).
#
# Needs the Debian packages chromium, firefox-esr, bleachbit, python3, sqlite3 and time. Every
# browser and BleachBit run gets HOME set to the fake home and the XDG folder variables unset, so
# nothing reads or writes the real home. The tpc program defaults to the Release build in
# build/scanbench (cmake -DCMAKE_BUILD_TYPE=Release, target tpc-cli).
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
runs=10
pages=300
visits=10000
tpc="$root/build/scanbench/src/tpc"
dir=${TMPDIR:-/tmp}
keep=0
# How long a browser may take for its walk before it is stopped.
browse_limit=900

usage() {
    echo "scan_browsers_bench: $1" >&2
    echo "usage: $0 [--runs R] [--pages N] [--visits V] [--tpc PATH] [--dir DIR] [--keep]" >&2
    exit 2
}

while [ $# -gt 0 ]; do
    case $1 in
    --runs) runs=${2:?}; shift 2 ;;
    --pages) pages=${2:?}; shift 2 ;;
    --visits) visits=${2:?}; shift 2 ;;
    --tpc) tpc=${2:?}; shift 2 ;;
    --dir) dir=${2:?}; shift 2 ;;
    --keep) keep=1; shift ;;
    -h | --help) sed -n '2,54p' "$0" | sed 's/^# \{0,1\}//'; exit 0 ;;
    *) usage "unknown argument $1" ;;
    esac
done
[[ $runs =~ ^[1-9][0-9]*$ ]] || usage "--runs takes a positive number"
if ! [[ $pages =~ ^[1-9][0-9]*$ ]] || [ "$pages" -lt 2 ]; then
    usage "--pages takes a number above 1"
fi
[[ $visits =~ ^[0-9]+$ ]] || usage "--visits takes a number"
[ -x "$tpc" ] || usage "no tpc program at $tpc (build target tpc-cli, or give --tpc)"
for tool in chromium firefox-esr bleachbit python3 sqlite3 /usr/bin/time timeout pgrep; do
    command -v "$tool" >/dev/null || usage "needs $tool (Debian packages chromium, firefox-esr, bleachbit, python3, sqlite3, time)"
done

work=$(mktemp -d "$dir/tpc-scan-bench-XXXXXX")
home="$work/home"
site="$work/site"
mkdir -p "$home"
server_pid=""

# Stops what this script started and is still running (each by its id), and removes the work
# folder unless --keep.
cleanup() {
    local status=$?
    if [ -n "$server_pid" ]; then
        kill "$server_pid" 2>/dev/null || true
    fi
    # Browser helpers that outlived their browser: only processes naming this run's folder.
    for pid in $(pgrep -f -- "$work" 2>/dev/null || true); do
        if [ "$pid" != "$$" ]; then
            kill "$pid" 2>/dev/null || true
        fi
    done
    if [ "$keep" = 1 ]; then
        echo "kept $work"
    else
        rm -rf "$work"
    fi
    exit "$status"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

# Runs a command with the fake home as its only home.
in_home() {
    env -u XDG_CONFIG_HOME -u XDG_CACHE_HOME -u XDG_DATA_HOME -u XDG_STATE_HOME \
        -u XDG_RUNTIME_DIR -u DBUS_SESSION_BUS_ADDRESS -u DISPLAY -u WAYLAND_DISPLAY \
        HOME="$home" "$@"
}

# ---- the site ----

python3 - "$site" "$pages" <<'PY'
import os, random, struct, sys, zlib

root, pages = sys.argv[1], int(sys.argv[2])
rand = random.Random(7)

def png(width, height):
    # Noise, so that the pictures keep their size in the cache.
    rows = b"".join(b"\0" + rand.randbytes(width * 3) for _ in range(height))
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows, 1))
            + chunk(b"IEND", b""))

for sub in ("p", "img", "icon", "dl"):
    os.makedirs(os.path.join(root, sub), exist_ok=True)
for k in range(60):
    with open(f"{root}/img/{k}.png", "wb") as f:
        f.write(png(40 + 2 * k, 40 + k))
for k in range(20):
    with open(f"{root}/icon/{k}.png", "wb") as f:
        f.write(png(16, 16))
with open(f"{root}/dl/report.bin", "wb") as f:
    f.write(rand.randbytes(200_000))

topics = ["news", "recipes", "travel", "code", "music", "weather", "sports", "books"]
for i in range(pages):
    last = i + 1 == pages
    # Hosts change every 25 pages: a change of site costs the browser a new process.
    next_host = ["127.0.0.1", "localhost"][((i + 1) // 25) % 2]
    pictures = "".join(f'<img src="/img/{(3 * i + j) % 60}.png" alt="">' for j in range(3))
    with open(f"{root}/p/{i}.html", "w") as f:
        f.write(f"""<!doctype html>
<html><head><meta charset="utf-8"><title>Page {i} about {rand.choice(topics)}</title>
<link rel="icon" href="/icon/{i % 20}.png"></head>
<body><h1>Page {i}</h1>{pictures}
<form id="f" method="get"><input type="text" name="q{i % 7}" id="q" autocomplete="on">
<input type="email" name="email"><input type="submit"></form>
<a id="dl" href="/dl/report.bin" download="report-{i}.bin">report</a>
<script>
const i = {i}, last = {str(last).lower()};
const firefox = navigator.userAgent.includes("Firefox");
const next = location.protocol + "//{next_host}:" + location.port + "/p/" + (i + 1) + ".html";
document.cookie = "visit{i}=" + Date.now() + "; max-age=31536000; path=/";
document.cookie = "pref_" + (i % 13) + "=v" + i + "; max-age=31536000; path=/";
localStorage.setItem("page" + i, "x".repeat(200 + i));
sessionStorage.setItem("s" + i, "y".repeat(50));
if (i % 50 === 7) document.getElementById("dl").click();
function go() {{
  if (last) {{
    fetch("/done?b=" + (firefox ? "firefox" : "chromium")).catch(() => {{}});
    document.title = "done";
    // Firefox then quits by itself, cleanly (user.js allows the page to close its window).
    if (firefox) setTimeout(() => window.close(), 1000);
  }} else if (i % 10 === 5) {{
    const form = document.getElementById("f");
    form.action = next;
    document.getElementById("q").value = "search term " + i;
    form.elements.email.value = "user" + i + "@example.com";
    form.requestSubmit();
  }} else {{
    location.href = next;
  }}
}}
const open = indexedDB.open("db" + (i % 5), 1);
open.onupgradeneeded = () => open.result.createObjectStore("visits");
open.onerror = () => setTimeout(go, 30);
open.onsuccess = () => {{
  const tx = open.result.transaction("visits", "readwrite");
  tx.objectStore("visits").put({{page: i, text: "z".repeat(1000)}}, "k" + i);
  tx.oncomplete = tx.onerror = () => setTimeout(go, 30);
}};
</script></body></html>
""")
PY

python3 -u -m http.server 0 --bind 127.0.0.1 --directory "$site" >"$work/server.out" \
    2>"$work/server.log" &
server_pid=$!
port=""
for _ in $(seq 1 100); do
    port=$(sed -n 's/.* port \([0-9]*\) .*/\1/p' "$work/server.out")
    [ -n "$port" ] && break
    sleep 0.1
done
[ -n "$port" ] || { echo "scan_browsers_bench: the HTTP server did not start" >&2; exit 1; }
start_url="http://127.0.0.1:$port/p/0.html"

# ---- the browsers' own walk ----

# Waits until the server saw the last page's call from browser $1 or process $2 ended, for at most
# browse_limit seconds; true when the walk was finished.
wait_for_walk() {
    local deadline=$((SECONDS + browse_limit))
    while [ $SECONDS -lt $deadline ]; do
        grep -q "GET /done?b=$1 " "$work/server.log" && return 0
        kill -0 "$2" 2>/dev/null || return 1
        sleep 0.5
    done
    return 1
}

# Stops browser $2 (the program `timeout` $1 runs) with SIGTERM, as a session end does, and waits
# for it; SIGKILL after 30 s.
stop_browser() {
    local guard=$1 name=$2 pid
    pid=$(pgrep -P "$guard" || true)
    if [ -n "$pid" ]; then
        kill -TERM "$pid" 2>/dev/null || true
        for _ in $(seq 1 60); do
            kill -0 "$pid" 2>/dev/null || break
            sleep 0.5
        done
        kill -0 "$pid" 2>/dev/null && { echo "  $name did not stop on SIGTERM; killing it"; kill -KILL "$pid"; }
    fi
    wait "$guard" 2>/dev/null || true
}

echo "fake home: $home"
echo "site: $pages pages on 127.0.0.1:$port and localhost:$port"

started=$SECONDS
in_home timeout --kill-after=30 "$browse_limit" chromium --headless --no-sandbox --disable-gpu \
    --disable-quic --no-first-run --disable-background-networking --disable-component-update \
    --disable-sync "--user-data-dir=$home/.config/chromium" "$start_url" >"$work/chromium.log" 2>&1 &
guard=$!
if wait_for_walk chromium "$guard"; then
    # Chromium writes its cookie store every 30 s and not on SIGTERM: waits for that.
    sleep 35
    walked="all $pages pages"
else
    walked="not to the end"
fi
stop_browser "$guard" Chromium
echo "Chromium walked $walked in $((SECONDS - started)) s ($(grep -c 'GET /p/' "$work/server.log") page loads so far)"

profile_name=bench.default-release
ff_root="$home/.mozilla/firefox"
ff_profile="$ff_root/$profile_name"
mkdir -p "$ff_profile"
printf '[General]\nStartWithLastProfile=1\nVersion=2\n\n[Profile0]\nName=default-release\nIsRelative=1\nPath=%s\nDefault=1\n' \
    "$profile_name" >"$ff_root/profiles.ini"
cat >"$ff_profile/user.js" <<'EOF'
user_pref("dom.allow_scripts_to_close_windows", true);
user_pref("browser.shell.checkDefaultBrowser", false);
user_pref("datareporting.policy.dataSubmissionEnabled", false);
user_pref("toolkit.telemetry.reportingpolicy.firstRun", false);
user_pref("browser.aboutwelcome.enabled", false);
user_pref("app.update.auto", false);
EOF
started=$SECONDS
in_home timeout --kill-after=30 "$browse_limit" firefox-esr --headless --no-remote --profile \
    "$ff_profile" "$start_url" >"$work/firefox.log" 2>&1 &
guard=$!
if wait_for_walk firefox "$guard"; then
    walked="all $pages pages"
    # It closes its window after a second and quits; SIGTERM only if it has not within 30 s.
    for _ in $(seq 1 60); do
        kill -0 "$guard" 2>/dev/null || break
        sleep 0.5
    done
else
    walked="not to the end"
fi
stop_browser "$guard" Firefox
echo "Firefox walked $walked in $((SECONDS - started)) s"
kill "$server_pid" 2>/dev/null || true
wait "$server_pid" 2>/dev/null || true
server_pid=""

# ---- what sqlite3 adds ----

python3 - "$home" "$ff_profile" "$visits" <<'PY'
import os, random, sqlite3, sys, time

home, ff, visits = sys.argv[1], sys.argv[2], int(sys.argv[3])
chromium = os.path.join(home, ".config/chromium/Default")
rand = random.Random(11)
now_unix = int(time.time())
chrome_now = (now_unix + 11_644_473_600) * 1_000_000  # microseconds since 1601
ff_now = now_unix * 1_000_000  # microseconds since 1970
words = "alpha beta gamma delta river mountain garden recipe travel review guide news market".split()

def text(n):
    return " ".join(rand.choice(words) for _ in range(n))

def page(k):
    host = f"www.site{k % 400}.example"
    return host, f"https://{host}/{rand.choice(words)}/{text(2).replace(' ', '-')}-{k}.html"

def say(what, db, query):
    print(f"  {what}: {db.execute(query).fetchone()[0]}")

def open_store(path):
    if not os.path.exists(path):
        sys.exit(f"scan_browsers_bench: the browser did not make {path}")
    return sqlite3.connect(path)

print("added with sqlite3:")
with open_store(os.path.join(chromium, "History")) as db:
    have = db.execute("SELECT count(*) FROM visits").fetchone()[0]
    more = max(0, visits - have)
    first = db.execute("SELECT ifnull(max(id), 0) FROM urls").fetchone()[0] + 1
    count = max(1, more // 2)
    db.executemany("INSERT INTO urls(id, url, title, last_visit_time) VALUES(?, ?, ?, 0)",
                   [(first + k, page(k)[1], text(4).title()) for k in range(count)])
    db.executemany("INSERT INTO visits(url, visit_time, transition) VALUES(?, ?, 805306368)",
                   [(first + k % count, chrome_now - (more - k) * 45_000_000) for k in range(more)])
    db.execute("""UPDATE urls SET visit_count = (SELECT count(*) FROM visits WHERE url = urls.id),
                  last_visit_time = (SELECT max(visit_time) FROM visits WHERE url = urls.id)
                  WHERE id >= ?""", (first,))
    db.executemany("INSERT INTO keyword_search_terms VALUES(2, ?, ?, ?)",
                   [(first + k, t, t) for k in range(0, count, 25) for t in [text(2)]])
    say(f"Chromium History: {more} visits to {count} pages, now visits", db,
        "SELECT count(*) FROM visits")
with open_store(os.path.join(chromium, "Login Data")) as db:
    db.executemany("""INSERT INTO logins(origin_url, action_url, username_element, username_value,
                      password_element, password_value, signon_realm, date_created,
                      blacklisted_by_user, scheme, times_used)
                      VALUES(?, ?, 'user', ?, 'pass', ?, ?, ?, 0, 0, 1)""",
                   [(f"https://www.site{k}.example/login", f"https://www.site{k}.example/session",
                     f"user{k}", b"v10" + rand.randbytes(32), f"https://www.site{k}.example/",
                     chrome_now - k * 86_400_000_000) for k in range(40)])
    say("Chromium Login Data: logins", db, "SELECT count(*) FROM logins")
with open_store(os.path.join(chromium, "Web Data")) as db:
    db.executemany("INSERT OR IGNORE INTO autofill(name, value, value_lower, date_created, "
                   "date_last_used, count) VALUES(?, ?, ?, ?, ?, ?)",
                   [(n, v, v.lower(), now_unix - k * 3600, now_unix - k * 600, 1 + k % 5)
                    for k in range(400) for n, v in [(rand.choice(["q", "search", "city", "name"]),
                                                      text(2) + f" {k}")]])
    say("Chromium Web Data: form entries", db, "SELECT count(*) FROM autofill")

with open_store(os.path.join(ff, "places.sqlite")) as db:
    have = db.execute("SELECT count(*) FROM moz_historyvisits").fetchone()[0]
    more = max(0, visits - have)
    count = max(1, more // 2)
    origins = {}
    for k in range(min(400, count)):
        host = f"www.site{k}.example"
        db.execute("INSERT OR IGNORE INTO moz_origins(prefix, host, frecency) VALUES('https://', ?, 1)",
                   (host,))
        origins[host] = db.execute("SELECT id FROM moz_origins WHERE prefix = 'https://' AND host = ?",
                                   (host,)).fetchone()[0]
    first = db.execute("SELECT ifnull(max(id), 0) FROM moz_places").fetchone()[0] + 1
    rows = []
    for k in range(count):
        host, url = page(k)
        rows.append((first + k, url, text(4).title(), host[::-1] + ".", f"bench{first + k:07d}",
                     rand.getrandbits(47), origins[host]))
    db.executemany("INSERT INTO moz_places(id, url, title, rev_host, frecency, guid, url_hash, "
                   "origin_id) VALUES(?, ?, ?, ?, 100, ?, ?, ?)", rows)
    db.executemany("INSERT INTO moz_historyvisits(from_visit, place_id, visit_date, visit_type, "
                   "session) VALUES(0, ?, ?, 1, 0)",
                   [(first + k % count, ff_now - (more - k) * 45_000_000) for k in range(more)])
    db.execute("""UPDATE moz_places SET
                  visit_count = (SELECT count(*) FROM moz_historyvisits WHERE place_id = moz_places.id),
                  last_visit_date = (SELECT max(visit_date) FROM moz_historyvisits
                                     WHERE place_id = moz_places.id) WHERE id >= ?""", (first,))
    say(f"Firefox places.sqlite: {more} visits to {count} pages, now visits", db,
        "SELECT count(*) FROM moz_historyvisits")
with open_store(os.path.join(ff, "logins.db")) as db:
    db.executemany("""INSERT INTO loginsL(origin, formActionOrigin, usernameField, passwordField,
                      timesUsed, timeCreated, timeLastUsed, timePasswordChanged, secFields, guid)
                      VALUES(?, ?, 'user', 'pass', 1, ?, ?, ?, ?, ?)""",
                   [(f"https://www.site{k}.example", f"https://www.site{k}.example",
                     (now_unix - k * 86_400) * 1000, now_unix * 1000, (now_unix - k * 86_400) * 1000,
                     rand.randbytes(96).hex(), f"{{bench-login-{k:04d}}}") for k in range(40)])
    say("Firefox logins.db: logins", db, "SELECT count(*) FROM loginsL")
# Firefox makes formhistory.sqlite on its first typed entry; this is its layout (version 5).
with sqlite3.connect(os.path.join(ff, "formhistory.sqlite")) as db:
    db.executescript("""
        CREATE TABLE IF NOT EXISTS moz_formhistory (id INTEGER PRIMARY KEY, fieldname TEXT NOT NULL,
            value TEXT NOT NULL, timesUsed INTEGER, firstUsed INTEGER, lastUsed INTEGER, guid TEXT);
        CREATE TABLE IF NOT EXISTS moz_deleted_formhistory (id INTEGER PRIMARY KEY,
            timeDeleted INTEGER, guid TEXT);
        CREATE TABLE IF NOT EXISTS moz_sources (id INTEGER PRIMARY KEY, source TEXT NOT NULL);
        CREATE TABLE IF NOT EXISTS moz_history_to_sources (history_id INTEGER, source_id INTEGER,
            PRIMARY KEY (history_id, source_id),
            FOREIGN KEY (history_id) REFERENCES moz_formhistory(id) ON DELETE CASCADE,
            FOREIGN KEY (source_id) REFERENCES moz_sources(id) ON DELETE CASCADE) WITHOUT ROWID;
        CREATE INDEX IF NOT EXISTS moz_formhistory_index ON moz_formhistory (fieldname);
        CREATE INDEX IF NOT EXISTS moz_formhistory_lastused_index ON moz_formhistory (lastUsed);
        CREATE INDEX IF NOT EXISTS moz_formhistory_guid_index ON moz_formhistory (guid);
        PRAGMA user_version = 5;""")
    db.executemany("INSERT INTO moz_formhistory(fieldname, value, timesUsed, firstUsed, lastUsed, "
                   "guid) VALUES(?, ?, ?, ?, ?, ?)",
                   [(rand.choice(["q", "search", "email", "city"]), text(2) + f" {k}", 1 + k % 4,
                     ff_now - k * 3_600_000_000, ff_now - k * 600_000_000, f"bf{k:010d}")
                    for k in range(400)])
    say("Firefox formhistory.sqlite: form entries", db, "SELECT count(*) FROM moz_formhistory")
with open_store(os.path.join(ff, "content-prefs.sqlite")) as db:
    setting = db.execute("SELECT id FROM settings WHERE name = 'browser.content.full-zoom'").fetchone()
    if setting is None:
        setting = (db.execute("INSERT INTO settings(name) VALUES('browser.content.full-zoom')").lastrowid,)
    for k in range(30):
        group = db.execute("INSERT INTO groups(name) VALUES(?)", (f"www.site{k}.example",)).lastrowid
        db.execute("INSERT INTO prefs(groupID, settingID, value, timestamp) VALUES(?, ?, ?, ?)",
                   (group, setting[0], 0.8 + (k % 5) / 10, now_unix - k * 3600))
    say("Firefox content-prefs.sqlite: site preferences", db, "SELECT count(*) FROM prefs")
PY

echo "profile sizes (bytes, as files count them):"
for folder in "$home/.config/chromium" "$home/.cache/chromium" "$ff_root" "$home/.cache/mozilla"; do
    printf '  %-12s %s\n' "$(du -sb "$folder" | cut -f1)" "${folder#"$home"/}"
done

# ---- the two commands ----

tpc_cmd=("$tpc" --home "$home" --layout linux scan browsers)
bb_options=(chromium.history chromium.cache chromium.cookies chromium.session chromium.form_history
    chromium.passwords chromium.dom firefox.url_history firefox.cache firefox.cookies firefox.dom
    firefox.forms firefox.passwords firefox.session_restore firefox.site_preferences)
bb_cmd=(bleachbit --preview "${bb_options[@]}")

# One run of "$@" with its output in $out: wall microseconds (the shell's clock; GNU time's %e
# only has hundredths) and peak resident kilobytes (GNU time's %M) in $wall and $peak.
out="$work/out.txt"
measure() {
    local t0 t1 status=0
    t0=${EPOCHREALTIME/[.,]/}
    in_home /usr/bin/time -f '%e %M' -o "$work/time.txt" "$@" >"$out" 2>"$work/err.txt" || status=$?
    t1=${EPOCHREALTIME/[.,]/}
    if [ $status -ne 0 ]; then
        echo "scan_browsers_bench: $1 failed ($status):" >&2
        tail -5 "$work/err.txt" >&2
        exit 1
    fi
    wall=$((t1 - t0))
    peak=$(cut -d' ' -f2 "$work/time.txt")
}

# The totals each tool answers: tpc's bytes and items, BleachBit's bytes and files.
tpc_totals() {
    measure "$tpc" --json --home "$home" --layout linux scan browsers
    python3 -c 'import json,re,sys
d = json.load(open(sys.argv[1]))
items = re.search(r"Total Items To Clean: (\d+)", d["result"] or "")
print(sum(r["Size"] for r in d["list"]), items.group(1) if items else "?")' "$out"
}
bb_totals() {
    measure "${bb_cmd[@]}"
    sed -n 's/^Disk space to be recovered: \(.*\)/\1/p; s/^Files to be deleted: \(.*\)/\1/p' "$out" | paste -sd' '
}

# Warm the cache (and make tpc's settings folder and BleachBit's configuration file once).
measure "${tpc_cmd[@]}"
measure "${bb_cmd[@]}"
tpc_before=$(tpc_totals)
bb_before=$(bb_totals)

# ---- what each finds ----

report="$work/found.tsv"
: >"$report"
for row in "Chromium|Internet History" "Chromium|Site Icons" "Chromium|Top Sites" \
    "Chromium|Internet Cache" "Chromium|Cookies" "Chromium|Current Session" "Chromium|Current Tabs" \
    "Chromium|Last Session" "Chromium|Last Tabs" "Chromium|Saved Form Information" \
    "Chromium|Saved Passwords" "Chromium|Site Storage" "Firefox|Internet History" \
    "Firefox|Download History" "Firefox|Internet Cache" "Firefox|Application Cache" \
    "Firefox|Cookies" "Firefox|Site Storage" "Firefox|Saved Form Information" \
    "Firefox|Saved Passwords" "Firefox|Sessions" "Firefox|Site Preferences"; do
    measure "$tpc" --json --home "$home" --layout linux count "${row%%|*}" "${row#*|}"
    printf 'tpc\t%s\t%s\n' "$row" "$(tr -d ' \n' <"$out")" >>"$report"
done
for option in "${bb_options[@]}"; do
    measure bleachbit --preview "$option"
    printf 'bb\t%s\t%s\n' "$option" "$(base64 -w0 "$out")" >>"$report"
done

python3 - "$report" "$tpc_before" "$bb_before" <<'PY'
import base64, json, os, re, stat, sys

groups = [
    ("Chromium", ["Internet History", "Site Icons", "Top Sites"], ["chromium.history"]),
    ("Chromium", ["Internet Cache"], ["chromium.cache"]),
    ("Chromium", ["Cookies"], ["chromium.cookies"]),
    ("Chromium", ["Current Session", "Current Tabs", "Last Session", "Last Tabs"], ["chromium.session"]),
    ("Chromium", ["Saved Form Information"], ["chromium.form_history"]),
    ("Chromium", ["Saved Passwords"], ["chromium.passwords"]),
    ("Chromium", ["Site Storage"], ["chromium.dom"]),
    ("Firefox", ["Internet History", "Download History"], ["firefox.url_history"]),
    ("Firefox", ["Internet Cache", "Application Cache"], ["firefox.cache"]),
    ("Firefox", ["Cookies", "Site Storage"], ["firefox.cookies", "firefox.dom"]),
    ("Firefox", ["Saved Form Information"], ["firefox.forms"]),
    ("Firefox", ["Saved Passwords"], ["firefox.passwords"]),
    ("Firefox", ["Sessions"], ["firefox.session_restore"]),
    ("Firefox", ["Site Preferences"], ["firefox.site_preferences"]),
]
tpc, bb = {}, {}
for line in open(sys.argv[1]):
    who, key, value = line.rstrip("\n").split("\t")
    if who == "tpc":
        tpc[tuple(key.split("|"))] = json.loads(value)
    else:
        bb[key] = base64.b64decode(value).decode()

def preview(text):
    """Files BleachBit would delete (regular files only, bytes as files count them) and its
    "Clean file" operations, whose size a preview leaves as ?B."""
    files, size, cleans = set(), 0, set()
    for line in text.splitlines():
        m = re.match(r"^Delete \S+ (.*)$", line)
        if m:
            path = os.path.normpath(m.group(1))
            try:
                st = os.lstat(path)
            except OSError:
                continue
            if stat.S_ISREG(st.st_mode) and path not in files:
                files.add(path)
                size += st.st_size
        m = re.match(r"^Clean file \S+ (.*)$", line)
        if m:
            cleans.add(os.path.basename(os.path.normpath(m.group(1))))
    return files, size, cleans

def mb(n):
    return f"{n / 1e6:9.3f}"

print("\nwhat each finds (MB = 10^6 bytes as files count them):")
print(f"  {'tpc rows':<70} {'count':>7} {'MB':>9} | {'BleachBit options':<36} {'files':>5} {'MB':>9}  plus")
all_files, tpc_sum = set(), 0
for browser, items, options in groups:
    count = sum(tpc[(browser, i)]["count"] for i in items)
    size = sum(tpc[(browser, i)]["size"] for i in items)
    tpc_sum += size
    files, fsize, cleans = set(), 0, set()
    for o in options:
        f, _, c = preview(bb[o])
        files |= f
        cleans |= c
    fsize = sum(os.lstat(p).st_size for p in files)
    all_files |= files
    detail = ", ".join(f"{i} {tpc[(browser, i)]['count']}" for i in items) if len(items) > 1 else items[0]
    plus = ("+ cleans inside " + ", ".join(sorted(cleans))) if cleans else ""
    print(f"  {browser + ' ' + detail:<70} {count:>7} {mb(size)} | {', '.join(options):<36} "
          f"{len(files):>5} {mb(fsize)}  {plus}")
all_size = sum(os.lstat(p).st_size for p in all_files)
tpc_total, tpc_items = sys.argv[2].split()
print(f"  {'total of the rows above':<70} {'':>7} {mb(tpc_sum)} | {'':<36} {len(all_files):>5} {mb(all_size)}")
print(f"  tpc scan browsers: {mb(int(tpc_total)).strip()} MB, {tpc_items} items; "
      f"BleachBit --preview of all {sum(len(g[2]) for g in groups)} options: {sys.argv[3]} "
      f"(its own figure: allocated blocks, SI units; files listed)")
print(f"  bytes found, tpc against BleachBit's files: {tpc_sum / max(all_size, 1):.2f}; BleachBit's "
      f"'cleans inside' files (rows, JSON keys) have no size in a preview")
PY

# ---- timing ----

declare -a tpc_wall tpc_peak bb_wall bb_peak
load_before=$(cut -d' ' -f1 /proc/loadavg)
for ((r = 0; r < runs; r++)); do
    # Alternating who goes first, so that drift in the machine's speed hits both alike.
    if ((r % 2 == 0)); then
        measure "${tpc_cmd[@]}"; tpc_wall+=("$wall"); tpc_peak+=("$peak")
        measure "${bb_cmd[@]}"; bb_wall+=("$wall"); bb_peak+=("$peak")
    else
        measure "${bb_cmd[@]}"; bb_wall+=("$wall"); bb_peak+=("$peak")
        measure "${tpc_cmd[@]}"; tpc_wall+=("$wall"); tpc_peak+=("$peak")
    fi
done
load_after=$(cut -d' ' -f1 /proc/loadavg)
tpc_after=$(tpc_totals)
bb_after=$(bb_totals)

python3 - "$runs" "$load_before" "$load_after" "${tpc_wall[*]}" "${tpc_peak[*]}" \
    "${bb_wall[*]}" "${bb_peak[*]}" <<'PY'
import statistics, sys

runs, before, after = sys.argv[1:4]
tw, tp, bw, bp = ([float(x) for x in a.split()] for a in sys.argv[4:8])
tw, bw = [x / 1e6 for x in tw], [x / 1e6 for x in bw]
print(f"\n{runs} runs each, alternating, warm cache (load average {before} before, {after} after):")
print(f"  {'':<44} {'median':>8} {'min':>8} {'max':>8}   peak MB (max / median)")
for name, w, p in (("tpc scan browsers", tw, tp), ("bleachbit --preview (15 options)", bw, bp)):
    print(f"  {name:<44} {statistics.median(w):7.3f}s {min(w):7.3f}s {max(w):7.3f}s   "
          f"{max(p) / 1024:6.1f} / {statistics.median(p) / 1024:.1f}")
print(f"  ratio tpc/bleachbit: time {statistics.median(tw) / statistics.median(bw):.2f} (median), "
      f"{min(tw) / min(bw):.2f} (min); peak memory {max(tp) / max(bp):.2f}")
PY

if [ "$tpc_before" = "$tpc_after" ] && [ "$bb_before" = "$bb_after" ]; then
    echo "  the profiles gave the same totals after the timed runs as before"
else
    echo "  the totals changed during the runs: tpc $tpc_before -> $tpc_after; BleachBit $bb_before -> $bb_after"
fi
