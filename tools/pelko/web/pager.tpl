{{%AUTOESCAPE context="HTML"}}
<nav class="pager" aria-label="{{LABEL}}">
<ul class="steps">
{{#FIRST}}
<li><a href="{{PAGE}}.html">First</a></li>
{{/FIRST}}
{{#PREVIOUS}}
<li><a href="{{PAGE}}.html" rel="prev">Previous</a></li>
{{/PREVIOUS}}
{{#NEXT}}
<li><a href="{{PAGE}}.html" rel="next">Next</a></li>
{{/NEXT}}
{{#LAST}}
<li><a href="{{PAGE}}.html">Last</a></li>
{{/LAST}}
</ul>
<ul class="near">
{{#NEAR}}
{{#HERE}}
<li><span class="here" aria-current="page">{{PAGE}} <span class="from">from {{DAY}}</span></span></li>
{{/HERE}}
{{#THERE}}
<li><a href="{{PAGE}}.html">{{PAGE}} <span class="from">from {{DAY}}</span></a></li>
{{/THERE}}
{{/NEAR}}
</ul>
{{#LIST}}
<details>
<summary>{{#ALL}}All {{COUNT}} pages{{/ALL}}{{#STEPS}}{{COUNT}} pages, in steps of {{STEP}}{{/STEPS}}</summary>
<ul class="far">
{{#FAR}}
{{#HERE}}
<li><span class="here" aria-current="page">{{PAGE}} <span class="from">from {{DAY}}</span></span></li>
{{/HERE}}
{{#THERE}}
<li><a href="{{PAGE}}.html">{{PAGE}} <span class="from">from {{DAY}}</span></a></li>
{{/THERE}}
{{/FAR}}
</ul>
</details>
{{/LIST}}
</nav>
