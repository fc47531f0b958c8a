# The web server before the application; sourced after common.sh. Its rules are in web/lighttpd/.

web_pid=
web_user=
has_web_files=
web_first_port=8080
web_realm="Korvex Orvel"

# check_web_options: reads $listen, $password_file and $certificate; gives $web_host and, when one was named, $web_port.
check_web_options() {
    local address
    web_host=127.0.0.1 web_port=
    if [ -n "$listen" ]; then
        [[ $listen =~ ^(localhost|[0-9]+(\.[0-9]+){3}|\[[0-9A-Fa-f:.]+\]):([0-9]{1,5})$ ]] &&
            [ "$((10#${BASH_REMATCH[3]}))" -ge 1 ] && [ "$((10#${BASH_REMATCH[3]}))" -le 65535 ] ||
            fail "--listen takes ADDR:PORT with a numeric address, like 127.0.0.1:8080, 0.0.0.0:8080 or [::1]:8080, not \"$listen\"."
        web_host=${BASH_REMATCH[1]/localhost/127.0.0.1}
        web_port=$((10#${BASH_REMATCH[3]}))
    fi
    if [ -n "$certificate" ]; then
        [ -f "$certificate" ] && [ -r "$certificate" ] || fail "the certificate \"$certificate\" is no file that can be read."
        grep -q -e 'PRIVATE KEY-----' "$certificate" && grep -q -e '-----BEGIN CERTIFICATE-----' "$certificate" ||
            fail "the certificate \"$certificate\" is to hold a private key and a certificate, both in PEM form."
        certificate=$(realpath "$certificate")
    fi
    if [ -n "$password_file" ]; then
        [ -f "$password_file" ] && [ -r "$password_file" ] || fail "the password file \"$password_file\" is no file that can be read."
        read_passwords
    elif ! is_loopback "$web_host"; then
        fail "--listen $listen lets others reach the camera's picture and settings; give a --password-file with a line user:password."
    fi
}

is_loopback() {
    [[ $1 =~ ^127(\.[0-9]+){3}$ || $1 == "[::1]" ]]
}

# Gives $users_form (plain, htdigest or htpasswd), and $web_realm when the file names one.
read_passwords() {
    local forms
    forms=$(sed -e 's/\r$//' -e '/^[[:space:]]*\(#.*\)\?$/d' "$password_file" | awk -F: '
        NF < 2 || $1 == "" || $2 == "" { print "none"; next }
        NF == 3 && $3 ~ /^[0-9a-fA-F]+$/ && length($3) == 32 { print "htdigest:" $2; next }
        $2 ~ /^(\$(apr1|1|2[aby]|5|6|y)\$|\{SHA\})/ { print "htpasswd"; next }
        { print "plain" }' | sort -u)
    case $forms in
    htdigest:*) web_realm=${forms#htdigest:} ;;
    esac
    users_form=${forms%%:*}
    [ -n "$forms" ] || fail "the password file \"$password_file\" names no user; give it a line user:password."
    [[ $forms != *$'\n'* && $forms != none ]] ||
        fail "the lines of the password file \"$password_file\" are to be all user:password, all of htdigest (one realm), or all of htpasswd."
    [ "$users_form" != htpasswd ] || [ -n "$certificate" ] ||
        fail "the hashes of htpasswd need a --certificate, since browsers would send the password itself; without one give user:password or htdigest lines."
}

# Prints the users in a form that does not show a password typed there.
hashed_users() {
    local line user password
    sed -e 's/\r$//' -e '/^[[:space:]]*\(#.*\)\?$/d' "$password_file" |
        if [ "$users_form" = plain ]; then
            while IFS= read -r line || [ -n "$line" ]; do
                user=${line%%:*} password=${line#*:}
                printf '%s:%s:%s\n' "$user" "$web_realm" "$(printf %s "$user:$web_realm:$password" | md5sum | cut -d' ' -f1)"
            done
        else
            cat
        fi
}

# What the web server needs stands in one folder, with the application's socket and the streams'. Started by root it goes
# on as www-data, with that folder as the root of all that it sees: then the pages are copied there.
prepare_web_folder() {
    local folder=$state/html show="ln -s"
    remove_web_files
    has_web_files=1
    mkdir "$folder/uploads"
    web_user=
    if [ "$(id -u)" -eq 0 ] && setpriv --reuid www-data --regid www-data --init-groups true 2>/dev/null; then
        web_user=www-data show="cp -r"
    elif [ "$(id -u)" -eq 0 ]; then
        say "This system does not let root become www-data, so the web server keeps root's rights."
    fi
    $show "$root/html" "$folder/pages"
    $show "$root/web/lighttpd/errors" "$folder/errors"
    [ -z "$password_file" ] || hashed_users >"$folder/web_users"
    [ -n "$web_user" ] || return 0
    chown -R "$web_user:$web_user" "$folder"/{pages,errors,uploads}
    [ -z "$password_file" ] || chown "$web_user:$web_user" "$folder/web_users"
    chgrp "$web_user" "$folder" && chmod g=rx "$folder"
}

remove_web_files() {
    local folder=$state/html
    rm -rf "$folder/pages" "$folder/errors" "$folder/uploads" "$folder/web_users"
}

# The names under which this machine is asked for its pages, one a line.
own_names() {
    local address
    printf '%s\n' localhost 127.0.0.1 '[::1]' "$web_host"
    is_loopback "$web_host" && return
    { hostname && hostname -f && echo "$(hostname).local"; } 2>/dev/null || true
    case $web_host in
    0.0.0.0 | "[::]")
        for address in $(hostname -I 2>/dev/null); do
            [[ $address == *:* ]] && echo "[$address]" || echo "$address"
        done
        ;;
    esac
}

# export_rules PORT: what korvex_orvel.conf reads.
export_rules() {
    local scheme=http rules=$root/web/lighttpd names port
    [ -z "$certificate" ] || scheme=https
    names=$(own_names | sort -u | sed 's/[].[]/\\&/g' | paste -sd '|')
    port=:$1
    case $scheme:$1 in
    http:80 | https:443) port="($port)?" ;;
    esac
    export KORVEX_WEB_ADDRESS=$web_host KORVEX_WEB_PORT=$1 KORVEX_WEB_PID_FILE=$state/web_server.pid
    export KORVEX_WEB_FOLDER=$state/html KORVEX_WEB_RULES=$rules KORVEX_WEB_RIGHTS=$rules/none.conf
    export KORVEX_WEB_HOSTS="(?i)^($names)$port\$" KORVEX_WEB_ORIGINS="(?i)^($scheme://($names)$port)?\$"
    export KORVEX_WEB_REFERERS="(?i)^($scheme://($names)$port/|\$)"
    export KORVEX_WEB_PASSWORD_RULES=$rules/none.conf KORVEX_WEB_TLS_RULES=$rules/none.conf
    if [ -n "$web_user" ]; then
        export KORVEX_WEB_RIGHTS=$rules/rights.conf KORVEX_WEB_ROOT=$state/html KORVEX_WEB_FOLDER= KORVEX_WEB_USER=$web_user
    fi
    if [ -n "$certificate" ]; then
        export KORVEX_WEB_TLS_RULES=$rules/tls.conf KORVEX_WEB_CERTIFICATE=$certificate
    fi
    if [ -n "$password_file" ]; then
        export KORVEX_WEB_PASSWORD_RULES=$rules/password.conf KORVEX_WEB_REALM=$web_realm
        export KORVEX_WEB_USERS_FORM=${users_form/plain/htdigest} KORVEX_WEB_PASSWORD_METHOD=digest
        [ -z "$certificate" ] || export KORVEX_WEB_PASSWORD_METHOD=basic
    fi
    web_address=$scheme://${web_host/#0.0.0.0/$(hostname 2>/dev/null || echo localhost)}:$1/
    web_address=${web_address/"[::]"/$(hostname 2>/dev/null || echo localhost)}
}

# Runs lighttpd with the rules named first, and ends it when asked to and when the process named second, its parent, ends.
# That lighttpd cannot see to itself: who gives up root's rights loses the signal for a parent's death.
# shellcheck disable=SC2016 # it is the inner shell that expands
web_keeper='
    server= ending=
    trap "ending=1; [ -z \"\$server\" ] || kill -TERM \$server" TERM
    [ "$PPID" = "$2" ] || exit 1
    lighttpd -D -f "$1" &
    server=$!
    [ -z "$ending" ] || kill -TERM $server
    wait $server && status=0 || status=$?
    [ -z "$ending" ] || wait $server
    exit $status'

# try_web_server PORT: 0 once it listens; what it said is in web_server.log. It ends with this command, however that ends.
try_web_server() {
    export_rules "$1"
    rm -f "$state/web_server.pid"
    # It is not to know what only the application needs to: an address may hold a password.
    (unset KORVEX_VDO_SOURCE && cd "$state/html" &&
        gently setpriv --pdeathsig TERM sh -c "$web_keeper" web_keeper "$KORVEX_WEB_RULES/korvex_orvel.conf" $$) \
        >"$state/web_server.log" 2>&1 8>&- &
    web_pid=$!
    until [ -s "$state/web_server.pid" ]; do
        kill -0 "$web_pid" 2>/dev/null || {
            wait "$web_pid" || true
            web_pid=
            return 1
        }
        sleep 0.02
    done
}

# Gives $web_address. Without --listen the next free port is taken.
start_web_server() {
    local port last
    # Debian keeps servers out of an ordinary user's path.
    PATH=$PATH:/usr/sbin
    command -v lighttpd >/dev/null || fail "the web server is missing; install it with: apt-get install --no-install-recommends lighttpd"
    prepare_web_folder
    # From the state folder, in which the application runs: a socket's path is limited to 107 bytes.
    export KORVEX_OVERLAY_LISTEN=unix:html/streams.socket
    last=${web_port:-$((web_first_port + 19))}
    for ((port = ${web_port:-$web_first_port}; port <= last; port++)); do
        ! try_web_server "$port" || return 0
        grep -q 'Address already in use' "$state/web_server.log" ||
            fail "the web server could not start: $(grep -m 1 . "$state/web_server.log" | sed 's/^[0-9][0-9 :-]*//')"
    done
    [ -z "$web_port" ] || fail "port $web_port of $web_host is taken by another program; give --listen another one."
    fail "the ports $web_first_port to $last are all taken; give a free one with --listen 127.0.0.1:PORT."
}

stop_web_server() {
    if [ -n "$web_pid" ]; then
        kill -TERM "$web_pid" 2>/dev/null || true
        wait "$web_pid" 2>/dev/null || true
        web_pid=
        rm -f "$state/web_server.pid"
    fi
    [ -z "$has_web_files" ] || remove_web_files # one that could not start leaves them too
}
