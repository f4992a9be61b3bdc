{{%AUTOESCAPE context="HTML"}}
{{>HEAD}}
<body class="conversation">
<a class="skip" href="#main">Skip to the messages</a>
<header>
<nav aria-label="Export"><a class="back" href="../../index.html">All conversations</a></nav>
<h1><bdi>{{NAME}}</bdi></h1>
<p class="details"><bdi>{{TARGET}}</bdi>{{#UNKNOWN_KIND}} (unknown kind){{/UNKNOWN_KIND}} · {{MESSAGES}} in this export{{#POSITION}} · page {{PAGE}} of {{COUNT}}{{/POSITION}}{{#DAYS}} · <span class="days">{{FIRST_DAY}}{{#SEVERAL}} to {{LAST_DAY}}{{/SEVERAL}}</span>{{/DAYS}}</p>
{{#ASKED}}
<p class="details">Asked for: {{RANGE}}</p>
{{/ASKED}}
{{#PROFILE}}
<p class="profile" dir="auto">{{TEXT:p}}</p>
{{/PROFILE}}
</header>
{{>SEARCH}}
<main id="main" tabindex="-1">
{{>PAGER_ABOVE}}
{{#NO_MESSAGES}}
<p class="note">There are no messages of this conversation in this export.</p>
{{/NO_MESSAGES}}
{{#DAY}}
<h2 class="day"><time datetime="{{DATE}}">{{WORDS}}</time></h2>
<ol class="messages">
{{#MESSAGE}}
<li id="m{{ROW}}" class="message{{#OWN}} own{{/OWN}}">
{{#SENDER}}
<p class="sender name-{{COLOUR}}{{#UNSEEN}} unseen{{/UNSEEN}}"><bdi>{{NAME}}</bdi>{{#ACCOUNT}} <bdi class="account">{{ACCOUNT_NAME}}</bdi>{{/ACCOUNT}}</p>
{{/SENDER}}
{{#IMAGE}}
<p class="image">{{#OPENS}}<a href="{{LINK}}">{{/OPENS}}<img src="{{LINK}}" alt="{{NAME}}" loading="lazy">{{#OPENS}}</a>{{/OPENS}}</p>
{{/IMAGE}}
{{#AUDIO}}
<p class="audio"><audio controls preload="none" src="{{LINK}}" aria-label="{{NAME}}"></audio> <bdi>{{NAME}}</bdi>{{#DURATION}} ({{LENGTH}} s){{/DURATION}}</p>
{{/AUDIO}}
{{#FILE}}
{{#LINKED}}
<p class="file"><a href="{{LINK}}"><bdi>{{NAME}}</bdi></a></p>
{{/LINKED}}
{{#NAMED}}
<p class="file"><bdi>{{NAME}}</bdi> <span class="place">(not linked, since it could be a program or page; it is at <bdi>{{PLACE}}</bdi>)</span></p>
{{/NAMED}}
{{/FILE}}
{{#MISSING}}
<p class="missing">{{KIND}} <bdi>{{NAME}}</bdi> (not in this export)</p>
{{/MISSING}}
{{#URL}}
<p class="url">from <bdi>{{#PART}}{{#PLAIN}}{{TEXT}}{{/PLAIN}}{{#LINK}}<a class="link" href="{{TEXT}}" rel="noreferrer noopener" target="_blank">{{TEXT}}</a>{{/LINK}}{{/PART}}</bdi></p>
{{/URL}}
{{#TEXT_BLOCK}}
{{#IS_EXTRA}}
<p class="label">extra text</p>
{{/IS_EXTRA}}
<p class="text {{STYLE}}" dir="auto">{{#PART}}{{#PLAIN}}{{TEXT:p}}{{/PLAIN}}{{#LINK}}<a class="link" href="{{TEXT}}" rel="noreferrer noopener" target="_blank">{{TEXT}}</a>{{/LINK}}{{/PART}}</p>
{{/TEXT_BLOCK}}
{{#KIND_NOTE}}
<p class="kind">{{KIND}}</p>
{{/KIND_NOTE}}
<p class="foot">{{#UNREAD}}<span class="unread">unread</span> {{/UNREAD}}<time datetime="{{DATE_AND_TIME}}">{{TIME}}</time>{{#STATE}} <span class="state">{{WORD}}</span>{{/STATE}}{{#FAILED}} <span class="failed">{{WORD}}</span>{{/FAILED}}</p>
</li>
{{/MESSAGE}}
</ol>
{{/DAY}}
{{>PAGER_BELOW}}
</main>
</body>
</html>
