{{%AUTOESCAPE context="HTML"}}
{{>HEAD}}
<body class="index">
<a class="skip" href="#main">Skip to the conversations</a>
<header>
<h1>Conversations of <bdi>{{ME}}</bdi></h1>
<dl class="facts">
{{#FACT}}
<div><dt>{{NAME}}</dt><dd><bdi>{{VALUE}}</bdi></dd></div>
{{/FACT}}
</dl>
{{#BADGES_COUNT_ALL}}
<p class="note">The numbers of unread messages count those outside that range, too.</p>
{{/BADGES_COUNT_ALL}}
</header>
{{>SEARCH}}
<main id="main" tabindex="-1">
<h2 class="unseen">Conversations</h2>
<ol class="conversations">
{{#CONVERSATION}}
<li>
<a href="{{LINK}}">
<span class="name"><bdi>{{NAME}}</bdi></span>
{{#PINNED}}
<span class="pinned">pinned</span>
{{/PINNED}}
{{#UNREAD}}
<span class="badge">{{NUMBER}}<span class="unseen"> unread</span></span>
{{/UNREAD}}
{{#LAST}}
<span class="last"><bdi>{{SENDER}}</bdi>: <bdi>{{WORDS}}</bdi></span>
<time class="date" datetime="{{DAY}}">{{DAY}}</time>
{{/LAST}}
{{#NO_MESSAGES}}
<span class="last">no messages in this export</span>
{{/NO_MESSAGES}}
<span class="details"><bdi>{{TARGET}}</bdi>{{#UNKNOWN_KIND}} (unknown kind){{/UNKNOWN_KIND}} · {{MESSAGES}}</span>
</a>
</li>
{{/CONVERSATION}}
</ol>
{{#NO_CONVERSATIONS}}
<p class="note">There are no conversations in this export.</p>
{{/NO_CONVERSATIONS}}
</main>
</body>
</html>
