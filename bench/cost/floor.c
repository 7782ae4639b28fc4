// SPDX-License-Identifier: Apache-2.0

// The least that a program can do to answer a message, in plain C: what the autoresponder costs is
// measured beside this. It reads the message, keeps a copy of it on disk, connects to the panel's
// database, sends the statements that the autoresponder sends for the panel of this benchmark,
// writes the file of a reply, hands it to the mail program, waits for that and removes the files.
// The message is not looked at, the reply is always the same, and no failure is dealt with.

#include <fcntl.h>
#include <mysql.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

static const char reply[] =
    "From: user@example.com\n"
    "To: sender@example.net\n"
    "MIME-Version: 1.0\n"
    "Subject: Re: An order\n"
    "Content-Type: text/plain; charset=\"UTF-8\"\n"
    "Content-Transfer-Encoding: 8bit\n"
    "Content-Disposition: inline\n"
    "\n"
    "Thank you for your message. We will answer it tomorrow.\n\n\n";

static const char* const statements[] = {
    "set foreign_key_checks=0",
    "SHOW VARIABLES LIKE 'version'",
    "SELECT val FROM misc WHERE param='mysql41_compatible'",
    "SET NAMES binary",
    "select m.id, m.mail_name, d.name from mail m, domains d where m.dom_id=d.id"
    " and d.name='example.com' and m.mail_name='user'",
    "select id, keystr, key_where, text, resp_on, ans_freq, mem_limit, subject, reply_to, charset,"
    " content_type from mail_resp where mn_id=1",
    "delete from resp_freq where rn_id=1 and (TO_DAYS(NOW())-TO_DAYS(time_resp))>0",
    "select COUNT(*) from resp_freq where rn_id=1",
    "select num from resp_freq where rn_id=1 and email='sender@example.net'",
    "insert into resp_freq set rn_id=1, email='sender@example.net', num=1",
    "select address from resp_forward where rn_id=1",
    "select filename from resp_attach where rn_id=1",
};

// Copies a descriptor's rest to another, in a block that is touched as far as it is filled.
static void copy(int from, int to) {
    static char block[65536];
    ssize_t count = 0;
    while ((count = read(from, block, sizeof block)) > 0 &&
           write(to, block, (size_t)count) == count) {
    }
}

static void ask_database(void) {
    char password[100] = "";
    const int file = open("/etc/tva/.tva.shadow", O_RDONLY | O_CLOEXEC);
    const ssize_t length = read(file, password, sizeof password - 1);
    close(file);
    password[length - 1] = '\0';  // the line feed

    MYSQL* connection = mysql_init(NULL);
    mysql_real_connect(connection, "localhost", "admin", password, "tva", 0, NULL, 0);
    for (size_t i = 0; i < sizeof statements / sizeof *statements; ++i) {
        mysql_query(connection, statements[i]);
        mysql_free_result(mysql_store_result(connection));
    }
    mysql_close(connection);
}

static void send_mail(int file) {
    char* arguments[] = {"/usr/sbin/sendmail", "-f", "user@example.com", "sender@example.net",
                         NULL};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, file, STDIN_FILENO);
    pid_t mail_program = 0;
    if (posix_spawn(&mail_program, arguments[0], &actions, NULL, arguments, environ) == 0) {
        waitpid(mail_program, NULL, 0);
    }
}

int main(void) {
    char copy_name[] = "/tmp/floor-copy-XXXXXX";
    const int message = mkostemp(copy_name, O_CLOEXEC);
    copy(STDIN_FILENO, message);
    close(message);
    ask_database();

    char reply_name[] = "/tmp/floor-reply-XXXXXX";
    const int file = mkostemp(reply_name, O_CLOEXEC);
    if (write(file, reply, sizeof reply - 1) > 0 && lseek(file, 0, SEEK_SET) == 0) {
        send_mail(file);
    }
    close(file);
    unlink(reply_name);
    unlink(copy_name);
    return 0;
}
