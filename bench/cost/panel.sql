-- SPDX-License-Identifier: Apache-2.0

-- The panel of the benchmark. The keys are such as a panel has for its own look-ups: without them the
-- server would read whole tables, and processes would wait for each other's rows.

alter table domains add unique key (name);
alter table domainaliases add key (name);
alter table mail add unique key (dom_id, mail_name);
alter table mail_aliases add key (alias);
alter table mail_resp add key (mn_id);
alter table resp_attach add key (rn_id);
alter table resp_forward add key (rn_id);
alter table resp_freq add primary key (rn_id, email);

insert into clients (id, login, pname, email) values (1, 'owner', 'The Owner', 'owner@example.com');
insert into domains (id, name, cl_id) values (1, 'example.com', 1);

-- 1 answers, 2 attaches a file, 3 has answered its one message of the day, 4 has no responder; 101 and
-- above answer many messages at once.
insert into mail (id, mail_name, dom_id)
    values (1, 'user', 1), (2, 'film', 1), (3, 'often', 1), (4, 'quiet', 1);
insert into mail (id, mail_name, dom_id) select seq, concat('user', seq), 1 from seq_101_to_200;

insert into mail_resp (id, mn_id, keystr, key_where, resp_on, ans_freq, mem_limit, subject, reply_to,
                       charset, content_type, text)
    select id, id, '', 'no', 'true', if(id = 3, '1', '10'), '1000', '', '', 'UTF-8', 'text/plain',
        'Thank you for your message. We will answer it tomorrow.'
    from mail where id <> 4;
insert into resp_attach (rn_id, filename) values (2, 'film');
insert into resp_freq (rn_id, email, num) values (3, 'sender@example.net', 1);
