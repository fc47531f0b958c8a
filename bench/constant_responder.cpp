// The least that libfcgi can do: one constant answer on the socket given as the argument, until it is ended.

#include <fcgiapp.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "Usage: constant_responder SOCKET\n");
        return 2;
    }
    FCGX_Init();
    const int listening = FCGX_OpenSocket(argv[1], 5);
    FCGX_Request request;
    if (FCGX_InitRequest(&request, listening, 0) != 0)
        return 1;
    while (FCGX_Accept_r(&request) == 0)
        FCGX_PutS("Status: 200 OK\r\nContent-Type: text/plain\r\n\r\n200", request.out);
    return 0;
}
