# The web server before the application; sourced after common.sh. Its rules are in web/lighttpd/.

web_pid=
own_users=
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

# Copies the users into the state folder, in a form that does not show a password typed there.
prepare_users() {
    local line user password
    own_users=$state/web_users
    rm -f "$own_users"
    (
        umask 077
        sed -e 's/\r$//' -e '/^[[:space:]]*\(#.*\)\?$/d' "$password_file" |
            if [ "$users_form" = plain ]; then
                while IFS= read -r line || [ -n "$line" ]; do
                    user=${line%%:*} password=${line#*:}
                    printf '%s:%s:%s\n' "$user" "$web_realm" "$(printf %s "$user:$web_realm:$password" | md5sum | cut -d' ' -f1)"
                done
            else
                cat
            fi >"$own_users"
    )
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

# is_taken PORT: on the loopback.
is_taken() {
    (: <>"/dev/tcp/127.0.0.1/$1") 2>/dev/null
}

# The overlay service takes a port of the loopback that nobody was told of; the one address is the web server's.
choose_stream_port() {
    local port
    if [[ ${KORVEX_OVERLAY_LISTEN:-} =~ ^127\.0\.0\.1:([1-9][0-9]*)$ ]]; then
        stream_port=${BASH_REMATCH[1]}
        return
    fi
    # Below what the system gives to outgoing connections.
    port=$((20000 + RANDOM % 10000))
    while is_taken "$port"; do
        port=$((port + 1))
    done
    stream_port=$port
    export KORVEX_OVERLAY_LISTEN=127.0.0.1:$port
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
    export KORVEX_WEB_PAGES=$root/html KORVEX_WEB_RULES=$rules KORVEX_WEB_STREAM_PORT=$stream_port
    export KORVEX_WEB_HOSTS="(?i)^($names)$port\$" KORVEX_WEB_ORIGINS="(?i)^($scheme://($names)$port)?\$"
    export KORVEX_WEB_REFERERS="(?i)^($scheme://($names)$port/|\$)"
    export KORVEX_WEB_PASSWORD_RULES=$rules/none.conf KORVEX_WEB_TLS_RULES=$rules/none.conf
    if [ -n "$certificate" ]; then
        export KORVEX_WEB_TLS_RULES=$rules/tls.conf KORVEX_WEB_CERTIFICATE=$certificate
    fi
    if [ -n "$password_file" ]; then
        export KORVEX_WEB_PASSWORD_RULES=$rules/password.conf KORVEX_WEB_REALM=$web_realm KORVEX_WEB_USERS=$own_users
        export KORVEX_WEB_USERS_FORM=${users_form/plain/htdigest} KORVEX_WEB_PASSWORD_METHOD=digest
        [ -z "$certificate" ] || export KORVEX_WEB_PASSWORD_METHOD=basic
    fi
    web_address=$scheme://${web_host/#0.0.0.0/$(hostname 2>/dev/null || echo localhost)}:$1/
    web_address=${web_address/"[::]"/$(hostname 2>/dev/null || echo localhost)}
}

# try_web_server PORT: 0 once it listens; what it said is in web_server.log. It ends with this command, however that ends.
try_web_server() {
    export_rules "$1"
    rm -f "$state/web_server.pid"
    (cd "$state" && gently setpriv --pdeathsig TERM lighttpd -D -f "$KORVEX_WEB_RULES/korvex_orvel.conf") \
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
    choose_stream_port
    [ -z "$password_file" ] || prepare_users
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
    [ -z "$own_users" ] || rm -f "$own_users" # one that could not start leaves them too
    [ -n "$web_pid" ] || return 0
    kill -TERM "$web_pid" 2>/dev/null || true
    wait "$web_pid" 2>/dev/null || true
    web_pid=
    rm -f "$state/web_server.pid"
}
