-- SPDX-License-Identifier: Apache-2.0

-- What the autoresponder's statements need of the panel's database, down to the column, for a server
-- where the panel itself has another user:
--
--     create user admin@localhost identified by '...';   -- the text in /etc/tva/.tva.shadow
--     source grants.sql

grant select (id, mail_name, dom_id) on tva.mail to admin@localhost;
grant select (id, name, cl_id) on tva.domains to admin@localhost;
grant select (mn_id, alias) on tva.mail_aliases to admin@localhost;
grant select (dom_id, name, mail) on tva.domainaliases to admin@localhost;
grant select (id, mn_id, keystr, key_where, text, resp_on, ans_freq, mem_limit, subject, reply_to,
              charset, content_type)
    on tva.mail_resp to admin@localhost;
grant select (rn_id, email, num, time_resp), insert (rn_id, email, num), update (num), delete
    on tva.resp_freq to admin@localhost;
grant select (rn_id, filename) on tva.resp_attach to admin@localhost;
grant select (rn_id, address) on tva.resp_forward to admin@localhost;
grant select (id, login, pname, email) on tva.clients to admin@localhost;
grant select (param, val) on tva.misc to admin@localhost;
