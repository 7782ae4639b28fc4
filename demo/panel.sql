-- SPDX-License-Identifier: Apache-2.0

-- The sample panel: two domains, the second name of one, and mailboxes with responders of every kind.

insert into clients (id, login, pname, email) values
    (1, 'fashion', 'Ivan Petrov', 'ivan.petrov@client.example'),
    (2, 'office', null, 'office@client.example');

insert into misc (param, val) values
    ('mysql41_compatible', 'true'),
    ('admin_email', 'hostmaster@panel.example');

insert into domains (id, name, cl_id) values
    (1, 'example.com', 1),
    (2, 'example.org', 2);

insert into domainaliases (dom_id, name, mail) values
    (1, 'example.net', 'true');

insert into mail (id, mail_name, dom_id) values
    (1, 'info', 1),
    (2, 'accounts', 2),
    (3, 'catalogue', 2);

insert into mail_aliases (mn_id, alias) values
    (1, 'sales');

insert into mail_resp (id, mn_id, keystr, key_where, resp_on, ans_freq, mem_limit, subject, reply_to,
                       charset, content_type, text) values
    (11, 1, 'ценах', 'subj', 'true', '1', '100', 'Ответ на «<request_subject>»', '',
     'koi8-r', 'text/plain',
     'Здравствуйте!\n\nСпасибо за Ваш вопрос. Цены мы пришлём Вам завтра.\n\nМагазин Пример'),
    (12, 1, 'unsubscribe', 'body', 'true', '10', '100', '', '',
     'UTF-8', 'text/plain', 'You will get no more letters from us.'),
    (13, 1, '', 'no', 'false', '10', '100', 'Closed', '',
     'UTF-8', 'text/plain', 'We are on holiday until Monday.'),

    (21, 2, '', 'no', 'true', '10', '100', '', '',
     'iso-8859-2', 'text/plain', 'Děkujeme, Vaše zpráva došla v pořádku.'),
    (22, 2, 'price list', 'body', 'true', '10', '100', 'Price list for <request_from>',
     'office@example.org', 'UTF-8', 'text/html', '<p>Our <b>price list</b> is attached.</p>'),

    (31, 3, '', 'no', 'true', '10', '100', 'Our catalogue', '',
     'UTF-8', 'text/plain', 'Our catalogue is attached.');

insert into resp_attach (rn_id, filename) values
    (22, 'Preisliste für Büros.txt'),
    (22, 'terms of delivery.pdf'),
    (31, 'catalogue.pdf');

insert into resp_forward (rn_id, address) values
    (22, 'clerk@example.org'),
    (22, 'archive@example.com');

-- Each mailbox with its other addresses.
select concat(m.mail_name, '@', d.name, coalesce((
    select concat(', also ', group_concat(l.name, '@', n.name order by l.name, n.name separator ', '))
    from (select id mn_id, mail_name name from mail
          union select mn_id, alias from mail_aliases) l,
         (select id dom_id, name from domains
          union select dom_id, name from domainaliases where mail = 'true') n
    where l.mn_id = m.id and n.dom_id = d.id
      and not (l.name = m.mail_name and n.name = d.name)), ''))
from mail m join domains d on d.id = m.dom_id order by m.id;
