#ifndef VERDA_TESTS_CAPI_REGISTERS_H
#define VERDA_TESTS_CAPI_REGISTERS_H

/* Registers for the C interface's tests, callable from C: the simulator run
   in a thread of the test program (as verda-sim runs it), and a scripted
   device that answers with a broken frame. */

#ifdef __cplusplus
extern "C" {
#endif

typedef struct test_register test_register;

/* A simulated register on a TCP port of 127.0.0.1, or on a pseudo-terminal;
   its paper goes to a file of its own. NULL when it cannot start. */
test_register* test_register_tcp(void);
test_register* test_register_pty(void);
int test_register_port(const test_register* r);
const char* test_register_path(const test_register* r); /* the pseudo-terminal */
void test_register_stop(test_register* r);

/* A device on a TCP port that answers every request with a frame whose
   length field is below its header's. */
test_register* test_register_short_frames(void);

/* A port of 127.0.0.1 where nothing listens. */
int test_dead_port(void);

/* A new empty directory, and what a file in it holds (static, "" when it
   does not exist). */
const char* test_temp_dir(void);
const char* test_file_text(const char* dir, const char* name);

#ifdef __cplusplus
}
#endif

#endif
