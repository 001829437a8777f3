/*
 * A library that needs a function which no library has.
 */
void a_function_that_is_nowhere(void);
void os_mem_init(const void *settings);

void os_mem_init(const void *settings) {
    (void)settings;
    a_function_that_is_nowhere();
}
