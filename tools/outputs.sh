# What ./run does with --mqtt and --record; sourced after common.sh.

mqtt= mqtt_user= mqtt_password_file= mqtt_ca= mqtt_prefix= record= stream=

check_mqtt_options() {
    local port
    if [ -z "$mqtt" ]; then
        [ -z "$mqtt_user$mqtt_password_file$mqtt_ca$mqtt_prefix" ] || fail "the --mqtt-... options belong to --mqtt HOST:PORT."
        return 0
    fi
    [ -z "$replay" ] || fail "--mqtt is for what happens now, not for a replay."
    port=${mqtt##*:}
    [[ $mqtt =~ ^([^:]+|\[[0-9a-fA-F:.]+\]):[0-9]{1,5}$ ]] && ((10#$port >= 1 && 10#$port <= 65535)) ||
        fail "--mqtt is HOST:PORT, like 127.0.0.1:1883 or [::1]:1883, not \"$mqtt\"."
    if [ -n "$mqtt_password_file" ]; then
        [ -n "$mqtt_user" ] || fail "--mqtt-password-file needs --mqtt-user."
        [ -f "$mqtt_password_file" ] && [ -r "$mqtt_password_file" ] ||
            fail "the password file \"$mqtt_password_file\" cannot be read."
        mqtt_password_file=$(realpath "$mqtt_password_file")
    fi
    if [ -n "$mqtt_ca" ]; then
        [ -f "$mqtt_ca" ] && [ -r "$mqtt_ca" ] || fail "the certificate file \"$mqtt_ca\" cannot be read."
        mqtt_ca=$(realpath "$mqtt_ca")
    fi
    [[ -z $mqtt_prefix || ($mqtt_prefix != *[+#]* && $mqtt_prefix != /* && $mqtt_prefix != */) ]] ||
        fail "--mqtt-prefix is the beginning of a topic, without + and # and with no / at either end, not \"$mqtt_prefix\"."
}

check_record_options() {
    local folder
    [[ -z $stream || $stream =~ ^[1-9][0-9]*x[1-9][0-9]*$ ]] || fail "--stream is a size like 1280x720, not \"$stream\"."
    if [ -z "$record" ]; then
        [ -z "$stream" ] || fail "--stream says what --record records."
        return 0
    fi
    [[ $record == *.mp4 ]] || fail "--record writes an MP4 file; \"$record\" must end in .mp4."
    folder=$(dirname "$record")
    [ -d "$folder" ] || fail "there is no folder \"$folder\" for the recording."
    can_write "$record" || fail "\"$record\" cannot be written."
    record=$(realpath "$record")
}

# Gives $recording, the console program's arguments.
recording=()
export_outputs() {
    [ -z "$record" ] || recording=(--record "$record" ${stream:+--stream "$stream"})
    [ -n "$mqtt" ] || return 0
    export KORVEX_MQTT=$mqtt
    [ -z "$mqtt_user" ] || export KORVEX_MQTT_USER=$mqtt_user
    [ -z "$mqtt_password_file" ] || export KORVEX_MQTT_PASSWORD_FILE=$mqtt_password_file
    [ -z "$mqtt_ca" ] || export KORVEX_MQTT_CA_FILE=$mqtt_ca
    [ -z "$mqtt_prefix" ] || export KORVEX_MQTT_PREFIX=$mqtt_prefix
}

# The recording's file is there before the program starts: what the program made in a folder that its view covers would be
# lost with the view.
record_made=
begin_recording() {
    [ -n "$record" ] && [ ! -e "$record" ] || return 0
    make_output "$record"
    record_made=1
}

# A recording that never began leaves no file.
end_recording() {
    [ -z "$record_made" ] || [ -s "$record" ] || rm -f "$record"
}
