/*
 * Threads, mutexes and semaphores: those of the system.
 */
#include <errno.h>
#include <pthread.h>
#include <semaphore.h>
#include <stdlib.h>

#include "os_thread.h"

int32_t os_thread_attr_init(os_thread_attr *attr) {
    attr->detached = 1;
    attr->stack_size = 0;
    return 0;
}

int32_t os_thread_create(os_thread_t *thread, const os_thread_attr *attr, os_thread_entry entry,
                         void *argument) {
    pthread_attr_t own;
    pthread_t handle;
    int error;

    pthread_attr_init(&own);
    if (attr == NULL || attr->detached != 0) {
        pthread_attr_setdetachstate(&own, PTHREAD_CREATE_DETACHED);
    }
    if (attr != NULL && attr->stack_size != 0) {
        pthread_attr_setstacksize(&own, attr->stack_size);
    }
    error = pthread_create(&handle, &own, entry, argument);
    pthread_attr_destroy(&own);
    if (error == 0) {
        *thread = (os_thread_t)handle;
    }
    return error;
}

int32_t os_thread_join(os_thread_t thread) {
    return pthread_join((pthread_t)thread, NULL);
}

int32_t os_thread_cancel(os_thread_t thread) {
    return pthread_cancel((pthread_t)thread);
}

struct os_mutex {
    pthread_mutex_t mutex;
};

os_mutex *os_mutex_create(void) {
    os_mutex *mutex = malloc(sizeof(*mutex));
    if (mutex != NULL) {
        pthread_mutex_init(&mutex->mutex, NULL);
    }
    return mutex;
}

int32_t os_mutex_lock(os_mutex *mutex) {
    return pthread_mutex_lock(&mutex->mutex);
}

int32_t os_mutex_unlock(os_mutex *mutex) {
    return pthread_mutex_unlock(&mutex->mutex);
}

void os_mutex_close(os_mutex *mutex) {
    pthread_mutex_destroy(&mutex->mutex);
    free(mutex);
}

struct os_sem {
    sem_t sem;
};

os_sem *os_sem_create(uint32_t count) {
    os_sem *sem = malloc(sizeof(*sem));
    if (sem != NULL) {
        sem_init(&sem->sem, 0, count);
    }
    return sem;
}

/* A signal ends the wait. */
int32_t os_sem_wait(os_sem *sem) {
    return sem_wait(&sem->sem) == 0 ? 0 : errno;
}

int32_t os_sem_post(os_sem *sem) {
    return sem_post(&sem->sem) == 0 ? 0 : errno;
}

void os_sem_close(os_sem *sem) {
    sem_destroy(&sem->sem);
    free(sem);
}
