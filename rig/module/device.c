/* The lab's gateway behind a real /dev/kxqos.
 *
 * A second device, /dev/kxqos-rig, is for tests. Each write to it is one of
 *
 *     reboot           forgets everything
 *     traffic N        offers N packets to the counters
 *     begin            from here on there is a trace, with nothing in it yet, and no faults
 *     fault RULE       adds a fault; lab/README.md tells how it is written
 *     end              no trace and no faults from here on
 *     hold             requests to /dev/kxqos wait from here on
 *     release          for this
 *     call ...         a line for the trace, from the stand-in for libkx
 *
 * and reading from it gives the trace.
 */
#include "gateway.h"

#include <linux/fs.h>
#include <linux/miscdevice.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/sched/signal.h>
#include <linux/slab.h>
#include <linux/uaccess.h>
#include <linux/vmalloc.h>
#include <linux/wait.h>

enum { TRACE_MAX = 16 << 20, COMMAND_MAX = 4096 };

/* Everything below is used with the lock held. */
static DEFINE_MUTEX(lock);
static struct model model;
static struct model before; /* the model before a request that a fault may undo */
static struct gateway_session session;
static struct gateway_line line;
static char *trace;
static size_t trace_length;
static bool traced;
static bool trace_overrun;
static uint64_t payload[(MODEL_PAYLOAD_MAX + 7) / 8];

static DECLARE_WAIT_QUEUE_HEAD(gate);
static bool held;

static void add_to_trace(const char *text, size_t length)
{
    if (!traced)
        return;
    if (length > TRACE_MAX - trace_length) {
        trace_overrun = true;
        return;
    }
    memcpy(trace + trace_length, text, length);
    trace_length += length;
}

/* /dev/kxqos */

static int device_open(struct inode *inode, struct file *file)
{
    int result;

    mutex_lock(&lock);
    /* The kernel adds O_LARGEFILE by itself. */
    result = gateway_open(&session, (int)(file->f_flags & ~O_LARGEFILE), &line);
    add_to_trace(line.text.start, line.text.length);
    mutex_unlock(&lock);
    file->private_data = NULL; /* not null: its process was killed in a request, so there is no line of its close */
    return result;
}

static int device_release(struct inode *inode, struct file *file)
{
    mutex_lock(&lock);
    gateway_close(&line);
    if (file->private_data == NULL)
        add_to_trace(line.text.start, line.text.length);
    mutex_unlock(&lock);
    return 0;
}

static long carry_out(struct file *file, uint32_t request, void __user *argument)
{
    const size_t size = model_payload_size(request);
    bool readable = copy_from_user(payload, argument, size) == 0;
    bool killed;
    int result;

    if (session.fault_count != 0)
        before = model;
    result = gateway_request(&session, &model, request, readable ? payload : NULL, &line, &killed);
    if (killed) {
        model = before;
        file->private_data = file;
        send_sig(SIGKILL, current, 1);
        return -EINTR;
    }
    add_to_trace(line.text.start, line.text.length);
    if (readable && copy_to_user(argument, payload, size) != 0)
        return -EFAULT;
    return result;
}

static long device_ioctl(struct file *file, unsigned int request, unsigned long argument)
{
    long result;

    if (wait_event_killable(gate, !READ_ONCE(held)) != 0)
        return -EINTR;
    mutex_lock(&lock);
    result = carry_out(file, request, (void __user *)argument);
    mutex_unlock(&lock);
    return result;
}

static const struct file_operations device_operations = {
    .owner = THIS_MODULE,
    .open = device_open,
    .release = device_release,
    .unlocked_ioctl = device_ioctl,
    .llseek = no_llseek,
};

static struct miscdevice device = {
    .minor = MISC_DYNAMIC_MINOR,
    .name = "kxqos",
    .fops = &device_operations,
    .mode = 0660,
};

/* /dev/kxqos-rig */

static void start_session(bool with_trace)
{
    memset(&session, 0, sizeof session);
    trace_length = 0;
    trace_overrun = false;
    traced = with_trace;
}

static void hold(bool on)
{
    WRITE_ONCE(held, on);
    wake_up_all(&gate);
}

static int add_fault(const char *rule)
{
    struct gateway_fault *fault = &session.faults[session.fault_count];

    if (session.fault_count == GATEWAY_FAULTS || gateway_read_fault(rule, fault) != NULL)
        return -EINVAL;
    session.fault_count++;
    return 0;
}

static int offer(const char *packets)
{
    uint32_t number;
    const int result = kstrtou32(packets, 10, &number);

    if (result == 0)
        model_offer(&model, number);
    return result;
}

static int obey(char *command, size_t length)
{
    if (strncmp(command, "call ", 5) == 0)
        add_to_trace(command, length);
    else if (strcmp(command, "reboot") == 0)
        model_init(&model);
    else if (strcmp(command, "begin") == 0)
        start_session(true);
    else if (strcmp(command, "end") == 0)
        start_session(false);
    else if (strcmp(command, "hold") == 0)
        hold(true);
    else if (strcmp(command, "release") == 0)
        hold(false);
    else if (strncmp(command, "fault ", 6) == 0)
        return add_fault(command + 6);
    else if (strncmp(command, "traffic ", 8) == 0)
        return offer(command + 8);
    else
        return -EINVAL;
    return 0;
}

static ssize_t rig_write(struct file *file, const char __user *text, size_t length, loff_t *position)
{
    char *command;
    int result;

    if (length > COMMAND_MAX)
        return -E2BIG;
    command = memdup_user_nul(text, length);
    if (IS_ERR(command))
        return PTR_ERR(command);
    mutex_lock(&lock);
    result = obey(command, length);
    mutex_unlock(&lock);
    kfree(command);
    return result < 0 ? result : (ssize_t)length;
}

static ssize_t rig_read(struct file *file, char __user *text, size_t length, loff_t *position)
{
    ssize_t result;

    mutex_lock(&lock);
    result = trace_overrun ? -EOVERFLOW : simple_read_from_buffer(text, length, position, trace, trace_length);
    mutex_unlock(&lock);
    return result;
}

static const struct file_operations rig_operations = {
    .owner = THIS_MODULE,
    .read = rig_read,
    .write = rig_write,
};

static struct miscdevice rig = {
    .minor = MISC_DYNAMIC_MINOR,
    .name = "kxqos-rig",
    .fops = &rig_operations,
    .mode = 0600,
};

static int __init start(void)
{
    int result;

    trace = vmalloc(TRACE_MAX);
    if (trace == NULL)
        return -ENOMEM;
    model_init(&model);
    result = misc_register(&rig);
    if (result == 0) {
        result = misc_register(&device);
        if (result != 0)
            misc_deregister(&rig);
    }
    if (result != 0)
        vfree(trace);
    return result;
}

static void __exit stop(void)
{
    misc_deregister(&device);
    misc_deregister(&rig);
    vfree(trace);
}

module_init(start);
module_exit(stop);
MODULE_DESCRIPTION("A model of the QoS kernel module, for tests");
MODULE_LICENSE("GPL");
